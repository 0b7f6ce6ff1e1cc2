// Reads headers.txt and the files that it lists.
#include "load.h"

#include <algorithm>
#include <fstream>
#include <iterator>
#include <set>
#include <sstream>

#include <fmt/format.h>

#include "parser.h"
#include "sha1.h"

namespace kzgen {

namespace {

namespace fs = std::filesystem;

struct Listed {
    std::string name;
    Place at;
};

const SourceFile* readSource(const fs::path& path, Model& model) {
    std::ifstream stream(path, std::ios::binary);
    if (!stream) {
        return nullptr;
    }
    std::string text{std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>()};
    return &model.sources.emplace_back(SourceFile{path.string(), std::move(text)});
}

std::vector<Listed> readList(const SourceFile& file, Diagnostics& diagnostics) {
    std::vector<Listed> listed;
    std::set<std::string> seen;
    std::istringstream lines(file.text);
    uint32_t number = 0;
    for (std::string line; std::getline(lines, line);) {
        const Place at{&file, ++number, 1};
        std::istringstream words(line);
        std::string name;
        std::string rest;
        if (!(words >> name) || name.starts_with('#')) {
            continue;
        }
        if (words >> rest) {
            diagnostics.error(at, inQuotes(rest) + " behind " + inQuotes(name), "one header a line");
        } else if (name == "all" || name == "index") {
            diagnostics.error(at, "header " + inQuotes(name), "a name that no file about all headers has");
        } else if (!seen.insert(name).second) {
            diagnostics.error(at, "header " + inQuotes(name) + " again", "each header once");
        } else {
            listed.push_back({name, at});
        }
    }
    return listed;
}

void readHeader(const fs::path& folder, const Listed& listed, Completeness completeness, Model& model,
                Diagnostics& diagnostics) {
    const SourceFile* file = readSource(folder / (listed.name + ".idl"), model);
    if (file == nullptr) {
        if (completeness == Completeness::Whole) {
            diagnostics.error(listed.at, "header " + inQuotes(listed.name), "a file " + inQuotes(listed.name + ".idl"));
        }
        return;
    }
    Header header = parse(*file, diagnostics);
    if (!header.name.empty() && header.name != listed.name) {
        diagnostics.error(header.at, "header " + inQuotes(header.name),
                          inQuotes(listed.name) + ", as the file is called");
    }
    model.headers.push_back(std::move(header));
}

void reportUnlisted(const fs::path& folder, const std::vector<Listed>& listed, const SourceFile& list,
                    Diagnostics& diagnostics) {
    std::set<std::string> unlisted;
    for (const fs::directory_entry& entry : fs::directory_iterator(folder)) {
        const std::string name = entry.path().stem().string();
        const bool known = std::any_of(listed.begin(), listed.end(), [&](const Listed& l) { return l.name == name; });
        if (entry.path().extension() == ".idl" && !known) {
            unlisted.insert(name);
        }
    }
    for (const std::string& name : unlisted) {
        diagnostics.error({&list, 1, 1}, fmt::format("no line for the file '{}.idl'", name), "every header listed");
    }
}

std::string hashOf(const Model& model) {
    std::string all;
    for (const SourceFile& source : model.sources) {
        all += fmt::format("{} {}\n", source.text.size(), toHex(sha1(source.text)));
    }
    return toHex(sha1(all));
}

}  // namespace

Model load(const fs::path& folder, Completeness completeness, Diagnostics& diagnostics) {
    Model model;
    const fs::path listPath = folder / "headers.txt";
    const SourceFile* list = readSource(listPath, model);
    if (list == nullptr) {
        const SourceFile& missing = model.sources.emplace_back(SourceFile{listPath.string(), ""});
        diagnostics.error({&missing, 1, 1}, "no such file", "the list of headers");
        return model;
    }
    const std::vector<Listed> listed = readList(*list, diagnostics);
    reportUnlisted(folder, listed, *list, diagnostics);
    for (const Listed& header : listed) {
        readHeader(folder, header, completeness, model, diagnostics);
    }
    model.hash = hashOf(model);
    check(model, completeness, diagnostics);
    return model;
}

}  // namespace kzgen
