// Part "docs": the reference of the SDK as Python sees it. One page a header, and an index that finds any name.
#include <iterator>

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include "emit.h"
#include "python_view.h"

namespace kzgen {

namespace {

constexpr std::string_view styleSheet =
    R"css(body { font: 15px/1.5 sans-serif; max-width: 62rem; margin: 2rem auto; padding: 0 1rem; color: #222; }
h1, h2 { line-height: 1.2; }
h2 { margin-top: 2.5rem; border-top: 1px solid #ccc; padding-top: 1rem; }
a { color: #0645ad; text-decoration: none; }
a:hover { text-decoration: underline; }
code { font: 13px/1.5 monospace; }
table { border-collapse: collapse; width: 100%; }
td, th { text-align: left; vertical-align: top; padding: .25rem .75rem .25rem 0; border-bottom: 1px solid #eee; }
.note { color: #666; }
:target { background: #fff6d5; }
#query { font: inherit; width: 100%; padding: .4rem; box-sizing: border-box; }
)css";

// Reads `entries`, rows of [name, what it is, page and anchor, text], which stand in a script of their own.
constexpr std::string_view searchScript = R"js('use strict';
(function () {
  var query = document.getElementById('query');
  var results = document.getElementById('results');
  function rank(name, wanted) {
    var at = name.toLowerCase().indexOf(wanted);
    return at < 0 ? -1 : name.length === wanted.length ? 0 : at === 0 ? 1 : 2;
  }
  function cell(row, text, link) {
    var td = row.insertCell();
    var code = document.createElement(link ? 'a' : 'code');
    code.textContent = text;
    if (link) { code.href = link; }
    td.appendChild(code);
  }
  function show() {
    var wanted = query.value.trim().toLowerCase();
    var found = [];
    results.textContent = '';
    for (var i = 0; wanted && i < entries.length; ++i) {
      var r = rank(entries[i][0].split('.').pop(), wanted);
      if (r < 0 && rank(entries[i][0], wanted) >= 0) { r = 3; }
      if (r >= 0) { found.push([r, i]); }
    }
    found.sort(function (a, b) { return a[0] - b[0] || a[1] - b[1]; });
    found.slice(0, 100).forEach(function (hit) {
      var entry = entries[hit[1]];
      var row = results.insertRow();
      cell(row, entry[0], entry[2]);
      cell(row, entry[1]);
      cell(row, entry[3]);
    });
  }
  query.addEventListener('input', show);
  show();
}());
)js";

std::string htmlText(std::string_view text) {
    std::string html;
    for (const char c : text) {
        switch (c) {
        case '&': html += "&amp;"; break;
        case '<': html += "&lt;"; break;
        case '>': html += "&gt;"; break;
        case '"': html += "&quot;"; break;
        default: html += c;
        }
    }
    return html;
}

std::string page(std::string_view title, std::string_view opening, std::string_view body) {
    return fmt::format("<!DOCTYPE html>\n<!--\n{}-->\n<html lang=\"en\">\n<head>\n<meta charset=\"utf-8\">\n"
                       "<title>{}</title>\n<link rel=\"stylesheet\" href=\"style.css\">\n</head>\n<body>\n{}</body>\n"
                       "</html>\n",
                       opening, htmlText(title), body);
}

// The interface as Python knows it. What only the host calls is known by its base class, if any.
std::string pythonType(const Interface& each) {
    if (each.wrapped) return (each.service ? "kz.service." : "kz.object.") + each.name;
    return (each.adapter ? "kzifc." : "") + each.name;
}

// What a Python class says to implement the method: "cmd_Execute(flags)", or why it is never asked.
std::string implementation(const Interface& each, const Method& method) {
    switch (method.inert) {
    case Inert::NotImplemented: return "answers NOTIMPL";
    case Inert::Zero: return "answers 0";
    case Inert::Nothing: return "does nothing";
    default: break;
    }
    std::string arguments;
    for (const Parameter* input : method.inputs())
        arguments += (arguments.empty() ? "" : ", ") + pythonArgumentName(*input);
    return fmt::format("<code>{}({})</code>{}", pythonMethodName(each, method), arguments,
                       method.required ? " (required)" : "");
}

// The method's summary, and how much its arrays hold.
std::string remarks(const Method& method) {
    std::string text = method.summary;
    for (const Parameter& each : method.parameters) {
        if (!info(each.type.kind).has(array)) continue;
        const std::string_view between = text.empty() ? "" : text.ends_with('.') ? " " : "; ";
        text += each.type.length.empty() ? fmt::format("{}{}: {}", between, each.name, each.type.unsized)
                                         : fmt::format("{}{} holds {} {}", between, each.name, lengthFormula(each.type),
                                                       each.type.kind == Kind::DataArray ? "bytes" : "elements");
    }
    return text;
}

void emitMethods(const Model& model, const Interface& each, Text out) {
    fmt::format_to(out, "<table>\n<tr><th>Method</th>{}<th></th></tr>\n",
                   each.adapter ? "<th>In a Python class</th>" : "");
    for (const Method& method : each.methods) {
        fmt::format_to(out, "<tr id=\"{}.{}\"><td><code>{}</code></td>", each.stem(), method.name,
                       htmlText(docString(model, method)));
        if (each.adapter) fmt::format_to(out, "<td>{}</td>", implementation(each, method));
        fmt::format_to(out, "<td>{}</td></tr>\n", htmlText(remarks(method)));
    }
    fmt::format_to(out, "</table>\n");
}

void emitInterface(const Model& model, const Interface& each, Text out) {
    fmt::format_to(out, "<h2 id=\"{}\">{}</h2>\n<p>{}</p>\n<p class=\"note\">", each.stem(), each.name,
                   htmlText(each.summary));
    if (each.wrapped) fmt::format_to(out, "Type <code>{}</code>. ", pythonType(each));
    else fmt::format_to(out, "Only the host calls it: it has no type in Python. ");
    if (each.adapter && !each.adapter->empty()) {
        fmt::format_to(out,
                       "A Python class can implement it, derived from <code>kzifc.{}</code> and with methods called "
                       "<code>{}_...</code>. ",
                       each.name, *each.adapter);
    }
    fmt::format_to(out, "Identity <code>{}</code>{}.</p>\n",
                   each.hasSymbol ? "kz.symbol.u_" + each.symbol : each.guid.text,
                   each.server ? fmt::format(", server type <code>{}</code>", htmlText(*each.server)) : "");
    if (!each.methods.empty()) emitMethods(model, each, out);
}

struct NamedValue {
    std::string name;
    std::string value;
    std::string summary;
    const Group* group;
};

void emitValues(std::string_view title, std::string_view module, const std::vector<NamedValue>& values, Text out) {
    if (values.empty()) return;
    fmt::format_to(out, "<h2>{}</h2>\n<p class=\"note\">In <code>{}</code>.</p>\n<table>\n", title, module);
    const Group* last = nullptr;
    for (const NamedValue& each : values) {
        if (each.group != last && !each.group->summary.empty())
            fmt::format_to(out, "<tr><td colspan=\"3\">{}</td></tr>\n", htmlText(each.group->summary));
        last = each.group;
        fmt::format_to(out, "<tr id=\"{0}.{1}\"><td><code>{1}</code></td><td><code>{2}</code></td><td>{3}</td></tr>\n",
                       module, each.name, htmlText(each.value), htmlText(each.summary));
    }
    fmt::format_to(out, "</table>\n");
}

void emitSizes(const Table& table, Text out) {
    fmt::format_to(out, "<h2>{}</h2>\n<p>{}</p>\n<table>\n", table.name, htmlText(table.summary));
    for (const Table::Row& row : table.rows)
        fmt::format_to(out, "<tr><td><code>{}</code></td><td>{}</td></tr>\n", row.constant, row.size);
    fmt::format_to(out, "</table>\n");
}

std::vector<NamedValue> symbols(const Header& header) {
    std::vector<NamedValue> all;
    for (const Symbol& each : symbolsOf(header))
        all.push_back({each.name, pythonLiteral(each.value), each.summary, each.group});
    return all;
}

std::vector<NamedValue> resultCodes(const Header& header) {
    std::vector<NamedValue> all;
    for (const Code& each : header.codes)
        all.push_back({each.name, fmt::format("0x{:08X}L", each.value), each.summary, &header.groups[each.group]});
    return all;
}

std::string linkedName(std::string_view page, const Interface& each) {
    return fmt::format("<a href=\"{}#{}\">{}</a>{} ", page, each.stem(), each.name, each.service ? " (service)" : "");
}

std::string headerPage(const Model& model, const Header& header) {
    std::string body;
    const Text out = std::back_inserter(body);
    fmt::format_to(out, "<p><a href=\"index.html\">Index</a></p>\n<h1>{}</h1>\n<p>{}</p>\n<p class=\"note\">",
                   header.name, htmlText(header.summary));
    for (const Interface& each : header.interfaces) body += linkedName("", each);
    fmt::format_to(out, "</p>\n");
    for (const Interface& each : header.interfaces) emitInterface(model, each, out);
    emitValues("Constants", "kz.symbol", symbols(header), out);
    for (const Table& each : header.tables) emitSizes(each, out);
    emitValues("Result codes", "kz.result", resultCodes(header), out);
    return page(header.name, openingLines(" ", header.summary, header), body);
}

// The index

std::string linkTo(const Header& header, const Interface& each) { return header.name + ".html#" + each.stem(); }

void addMethods(const Model& model, const Header& header, nlohmann::json& entries) {
    for (const Interface& each : header.interfaces) {
        for (const Method& method : each.methods) {
            const std::string link = linkTo(header, each) + "." + method.name;
            entries.push_back({pythonType(each) + "." + method.name, "method", link, docString(model, method)});
            if (const std::string name = pythonMethodName(each, method); !name.empty()) {
                entries.push_back({"kzifc." + each.name + "." + name, "method of a Python class", link,
                                   docString(model, method, name)});
            }
        }
    }
}

void addValues(const Header& header, nlohmann::json& entries) {
    for (const NamedValue& each : symbols(header)) {
        const std::string name = "kz.symbol." + each.name;
        entries.push_back({name, "constant", header.name + ".html#" + name, each.value});
    }
    for (const NamedValue& each : resultCodes(header)) {
        const std::string name = "kz.result." + each.name;
        entries.push_back({name, "result code", header.name + ".html#" + name, each.value});
    }
}

std::string searchEntries(const Model& model) {
    nlohmann::json entries = nlohmann::json::array();
    // Of names that fit a search equally well, those of interfaces come first.
    for (const Header& header : model.headers) {
        for (const Interface& each : header.interfaces) {
            entries.push_back(
                {pythonType(each), each.service ? "service" : "interface", linkTo(header, each), each.summary});
        }
    }
    for (const Header& header : model.headers) {
        addMethods(model, header, entries);
        addValues(header, entries);
    }
    std::string text = openingLines("//", "The names that the index finds.", model) + "var entries = [\n";
    for (const auto& entry : entries) text += entry.dump() + ",\n";
    return text + "];\n";
}

std::string indexPage(const Model& model) {
    std::string body = "<h1>SDK reference</h1>\n<p><input id=\"query\" type=\"search\" autofocus "
                       "placeholder=\"Find an interface, method, constant or result code\"></p>\n"
                       "<table id=\"results\"></table>\n<table>\n";
    for (const Header& header : model.headers) {
        body +=
            fmt::format("<tr><td><a href=\"{0}.html\">{0}</a></td><td>{1}<br>", header.name, htmlText(header.summary));
        for (const Interface& each : header.interfaces) body += linkedName(header.name + ".html", each);
        body += "</td></tr>\n";
    }
    body += "</table>\n<script src=\"entries.js\"></script>\n<script src=\"search.js\"></script>\n";
    return page("SDK reference", openingLines(" ", "The index of the reference.", model), body);
}

}  // namespace

void emitDocs(const Model& model, Output& output) {
    output.write("style.css", styleSheet);
    output.write("search.js", searchScript);
    output.write("entries.js", searchEntries(model));
    output.write("index.html", indexPage(model));
    for (const Header& header : model.headers) output.write(header.name + ".html", headerPage(model, header));
}

}  // namespace kzgen
