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

struct ListLine {
    std::string name;
    Place at;
};

const SourceFile* readSource(const fs::path& path, Model& model) {
    std::ifstream stream(path, std::ios::binary);
    if (!stream) return nullptr;
    std::string text{std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>()};
    return &model.sources.emplace_back(SourceFile{path.string(), std::move(text)});
}

std::vector<ListLine> readList(const SourceFile& file, Diagnostics& diagnostics) {
    std::vector<ListLine> lines;
    std::set<std::string> names;
    std::istringstream text(file.text);
    std::uint32_t number = 0;
    for (std::string line; std::getline(text, line);) {
        const Place at{&file, ++number, 1};
        std::istringstream words(line);
        std::string name;
        std::string rest;
        if (!(words >> name) || name.starts_with('#')) continue;
        if (words >> rest) diagnostics.error(at, inQuotes(rest) + " behind " + inQuotes(name), "one header per line");
        else if (name == "all" || name == "index")
            diagnostics.error(at, "header " + inQuotes(name),
                              "another name: generated files about all headers have this one");
        else if (!names.insert(name).second)
            diagnostics.error(at, "header " + inQuotes(name) + " again", "each header once");
        else lines.push_back({name, at});
    }
    return lines;
}

void readHeader(const fs::path& folder, const ListLine& line, Completeness completeness, Model& model,
                Diagnostics& diagnostics) {
    const SourceFile* file = readSource(folder / (line.name + ".idl"), model);
    if (file == nullptr) {
        if (completeness == Completeness::Whole)
            diagnostics.error(line.at, "header " + inQuotes(line.name), "a file " + inQuotes(line.name + ".idl"));
        return;
    }
    Header header = parse(*file, diagnostics);
    if (!header.name.empty() && header.name != line.name) {
        diagnostics.error(header.at, "header " + inQuotes(header.name),
                          inQuotes(line.name) + ", as the file is called");
    }
    model.headers.push_back(std::move(header));
}

void reportUnlisted(const fs::path& folder, const std::vector<ListLine>& lines, const SourceFile& list,
                    Diagnostics& diagnostics) {
    std::set<std::string> unlisted;
    for (const fs::directory_entry& entry : fs::directory_iterator(folder)) {
        const std::string name = entry.path().stem().string();
        const bool isListed =
            std::any_of(lines.begin(), lines.end(), [&](const ListLine& l) { return l.name == name; });
        if (entry.path().extension() == ".idl" && !isListed) unlisted.insert(name);
    }
    for (const std::string& name : unlisted)
        diagnostics.error({&list, 1, 1}, fmt::format("no line for the file '{}.idl'", name), "every header listed");
}

std::string hashOf(const Model& model) {
    std::string all;
    for (const SourceFile& source : model.sources)
        all += fmt::format("{} {}\n", source.text.size(), toHex(sha1(source.text)));
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
    const std::vector<ListLine> lines = readList(*list, diagnostics);
    reportUnlisted(folder, lines, *list, diagnostics);
    for (const ListLine& header : lines) readHeader(folder, header, completeness, model, diagnostics);
    model.hash = hashOf(model);
    check(model, completeness, diagnostics);
    return model;
}

}  // namespace kzgen
