// kzhost coverage: what of the SDK works in this host, which the compiler knows of the host's classes, and what it calls
// of servers, which was recorded.
#include "host/cli/coverage.h"

#include "host/cli/exit_status.h"
#include "host/cli/program.h"
#include "host/cli/standard_streams.h"
#include "host/core/reasons.h"
#include "host/state/driven_servers.h"
#include "host/state/hosted.h"

#include "kz/methods.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <algorithm>
#include <array>
#include <set>
#include <string_view>
#include <vector>

namespace kzhost {

namespace {

using Fields = std::vector<std::string_view>;

Fields wordsOf(std::string_view text) {
    Fields words;
    while (!text.empty()) {
        const std::size_t end = std::min(text.find(' '), text.size());
        words.push_back(text.substr(0, end));
        text.remove_prefix(std::min(end + 1, text.size()));
    }
    return words;
}

// What can be used of one interface, service or kind of server.
struct Subject {
    enum Kind : std::uint8_t { object, service, server };
    Kind kind;
    std::string_view name;
    bool isHere;  // there are such objects, or the host calls such servers
    Fields all;
    std::set<std::string_view> used;
    std::set<std::string_view> needsWindow;

    std::string fullName(std::string_view method) const {
        constexpr std::array modules = {"kz.object", "kz.service", "kzifc"};
        return fmt::format("{}.{}.{}", modules[kind], name, method);
    }
    std::string_view stateOf(std::string_view method) const {
        if (kind == server) return used.contains(method) ? "called" : "never called";
        if (used.contains(method)) return "works";
        if (needsWindow.contains(method)) return "needs a window or a renderer";
        return isHere ? "not implemented" : "there is no such object";
    }
};

Subject wrappedSubject(const KzMethodsRow& row) {
    Subject subject{row.isService ? Subject::service : Subject::object, row.name, false, wordsOf(row.methods), {}, {}};
    for (const HostedInterface* each = kzHostedInterfaces(); each != nullptr; each = each->next) {
        if (each->iid != row.iid) continue;
        subject.isHere = true;
        subject.needsWindow.insert(each->needsWindow.begin(), each->needsWindow.end());
        for (std::size_t at = 0; at < each->overrides.size(); ++at)
            if (each->overrides[at] && !subject.needsWindow.contains(subject.all[at]))
                subject.used.insert(subject.all[at]);
    }
    return subject;
}

Subject servedSubject(const KzMethodsRow& row) {
    Subject subject{Subject::server, row.name, false, wordsOf(row.operations), {}, {}};
    for (const DrivenServer& each : kzDrivenServers()) {
        if (each.kind != subject.name) continue;
        subject.isHere = true;
        const Fields operations = wordsOf(each.operations);
        subject.used.insert(operations.begin(), operations.end());
    }
    return subject;
}

// Ordered by kind and name.
std::vector<Subject> subjectsOf(std::string_view name) {
    std::vector<Subject> subjects;
    for (const KzMethodsRow& row : kzMethodsRows) {
        if (!name.empty() && name != row.name) continue;
        if (row.isWrapped) subjects.push_back(wrappedSubject(row));
        if (row.isServed) subjects.push_back(servedSubject(row));
    }
    std::sort(subjects.begin(), subjects.end(), [](const Subject& left, const Subject& right) {
        return std::pair(left.kind, left.name) < std::pair(right.kind, right.name);
    });
    return subjects;
}

struct Share {
    std::size_t here = 0;
    std::size_t all = 0;
    void add(std::size_t hereToo, std::size_t allToo) {
        here += hereToo;
        all += allToo;
    }
    std::string json(std::string_view key) const {
        return fmt::format("    \"{}\": {{\"here\": {}, \"all\": {}}}", key, here, all);
    }
};

struct Counts {
    std::array<Share, 3> subjects;
    Share methods, operations;

    explicit Counts(const std::vector<Subject>& counted) {
        for (const Subject& each : counted) {
            subjects[each.kind].add(each.isHere ? 1 : 0, 1);
            (each.kind == Subject::server ? operations : methods).add(each.used.size(), each.all.size());
        }
    }
};

constexpr std::array groupNames = {"objects", "services", "servers"};

// Sorted, and a line for each subject, so that a change shows as such.
std::string asJson(const std::vector<Subject>& subjects) {
    const Counts counts(subjects);
    std::vector<std::string> lines;
    for (std::size_t kind = 0; kind < groupNames.size(); ++kind)
        lines.push_back(counts.subjects[kind].json(groupNames[kind]));
    lines.push_back(counts.methods.json("methods"));
    lines.push_back(counts.operations.json("operations"));
    std::string text = fmt::format("{{\n  \"counts\": {{\n{}\n  }}", fmt::join(lines, ",\n"));
    std::vector<std::string> window;
    for (std::size_t kind = 0; kind < groupNames.size(); ++kind) {
        lines.clear();
        for (const Subject& each : subjects) {
            if (each.kind != kind || !each.isHere) continue;
            lines.push_back(each.used.empty()
                                ? fmt::format("    \"{}\": []", each.name)
                                : fmt::format("    \"{}\": [\"{}\"]", each.name, fmt::join(each.used, "\", \"")));
            for (const std::string_view method : each.needsWindow)
                window.push_back("\n    \"" + each.fullName(method) + '"');
        }
        text += fmt::format(",\n  \"{}\": {{\n{}\n  }}", groupNames[kind], fmt::join(lines, ",\n"));
    }
    return fmt::format("{},\n  \"needs a window or a renderer\": [{}\n  ]\n}}\n", text, fmt::join(window, ","));
}

std::string overview(const std::vector<Subject>& subjects) {
    std::string text;
    constexpr std::array prefixes = {"kz.object", "kz.service", "kzifc"};
    for (const Subject& each : subjects)
        if (each.isHere)
            text += fmt::format("{:<40}  {} of {} {}\n", fmt::format("{}.{}", prefixes[each.kind], each.name),
                                each.used.size(), each.all.size(),
                                each.kind == Subject::server ? "operations called" : "methods work");
    const Counts counts(subjects);
    const auto& [objects, services, servers] = counts.subjects;
    return text +
           fmt::format("In all, there are objects of {} of {} interfaces, and {} of {} services; {} of {} methods "
                       "work.\nThe host calls {} of {} kinds of server, and {} of their {} operations.\n",
                       objects.here, objects.all, services.here, services.all, counts.methods.here, counts.methods.all,
                       servers.here, servers.all, counts.operations.here, counts.operations.all);
}

std::string details(const std::vector<Subject>& subjects) {
    std::string text;
    for (const Subject& each : subjects)
        for (const std::string_view method : each.all)
            text += fmt::format("{:<50}  {}\n", each.fullName(method), each.stateOf(method));
    return text;
}

}  // namespace

int kzShowCoverage(const std::string& name, bool isJson) {
    const std::vector<Subject> subjects = subjectsOf(name);
    if (subjects.empty()) {
        CProgram::say(
            fmt::format("there is no interface, service or kind of server \"{}\"; kzhost coverage lists those "
                        "that are of use here",
                        name));
        return exitUsage;
    }
    CStandardStreams::get().out(isJson ? asJson(subjects) : name.empty() ? overview(subjects) : details(subjects));
    return exitOk;
}

}  // namespace kzhost
