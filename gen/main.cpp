// The command line of kzgen.
#include <cstdio>
#include <exception>
#include <string_view>
#include <vector>

#include <fmt/format.h>

#include "census.h"
#include "emit.h"
#include "families.h"
#include "load.h"
#include "sha1.h"

namespace kzgen {

namespace {

constexpr int exitGood = 0;
constexpr int exitErrors = 1;
constexpr int exitUsage = 2;

using Words = std::vector<std::string_view>;

void print(std::FILE* stream, std::string_view text) { std::fwrite(text.data(), 1, text.size(), stream); }

int usage() {
    std::string text = "usage: kzgen check [--partial] [--unused-families] IDLDIR\n"
                       "                                           report every error in the description\n"
                       "       kzgen stats [--partial] [--json] IDLDIR\n"
                       "                                           count what it describes\n"
                       "       kzgen mint NAME...                  derive GUIDs from names\n"
                       "       kzgen emit [--partial] IDLDIR OUTDIR --part PART...\n"
                       "                                           write generated files; the parts are:\n";
    for (const Part& part : parts()) text += fmt::format("           {:<8} {}\n", part.name, part.purpose);
    text += "--partial: headers.txt and object<...> may name headers and interfaces that do not exist yet.\n"
            "--unused-families: also report integer constants that no method takes or returns.\n";
    print(stderr, text);
    return exitUsage;
}

bool takeFlag(Words& words, std::string_view flag) { return std::erase(words, flag) != 0; }

Completeness takeCompleteness(Words& words) {
    return takeFlag(words, "--partial") ? Completeness::Partial : Completeness::Whole;
}

// Loads a description and prints its errors. True if there were none.
bool loaded(std::string_view folder, Completeness completeness, Model& model, bool unusedFamilies = false) {
    Diagnostics diagnostics;
    model = load(folder, completeness, diagnostics);
    if (unusedFamilies) checkUnusedFamilies(model, diagnostics);
    print(stderr, diagnostics.text());
    if (!diagnostics.empty())
        print(stderr, fmt::format("{} error{}\n", diagnostics.count(), diagnostics.count() == 1 ? "" : "s"));
    return diagnostics.empty();
}

int runCheck(Words words) {
    const Completeness completeness = takeCompleteness(words);
    const bool unusedFamilies = takeFlag(words, "--unused-families");
    Model model;
    if (words.size() != 1) return usage();
    return loaded(words[0], completeness, model, unusedFamilies) ? exitGood : exitErrors;
}

int runStats(Words words) {
    const Completeness completeness = takeCompleteness(words);
    const bool json = takeFlag(words, "--json");
    Model model;
    if (words.size() != 1) return usage();
    if (!loaded(words[0], completeness, model)) return exitErrors;
    const Census census = takeCensus(model);
    print(stdout, json ? asJson(census) : asText(census));
    return exitGood;
}

int runMint(const Words& words) {
    if (words.empty()) return usage();
    for (const std::string_view name : words)
        print(stdout, mintGuid(name) + (words.size() > 1 ? fmt::format("  {}\n", name) : "\n"));
    return exitGood;
}

const Part* findPart(std::string_view name) {
    for (const Part& part : parts())
        if (part.name == name) return &part;
    return nullptr;
}

int runEmit(Words words) {
    const Completeness completeness = takeCompleteness(words);
    if (words.size() < 4 || words[2] != "--part") return usage();
    std::vector<const Part*> selection;
    for (std::size_t i = 3; i < words.size(); ++i) {
        selection.push_back(findPart(words[i]));
        if (selection.back() == nullptr) {
            print(stderr, fmt::format("kzgen: no part '{}'\n", words[i]));
            return usage();
        }
    }
    Model model;
    if (!loaded(words[0], completeness, model)) return exitErrors;
    Output output(words[1]);
    for (const Part* part : selection) part->emit(model, output);
    return exitGood;
}

int run(Words words) {
    const std::string_view verb = words.empty() ? "" : words[0];
    words.erase(words.begin(), words.begin() + (words.empty() ? 0 : 1));
    if (verb == "check") return runCheck(std::move(words));
    if (verb == "stats") return runStats(std::move(words));
    if (verb == "mint") return runMint(words);
    return verb == "emit" ? runEmit(std::move(words)) : usage();
}

}  // namespace

}  // namespace kzgen

int main(int argc, char** argv) {
    try {
        return kzgen::run({argv + 1, argv + argc});
    } catch (const std::exception& error) {
        std::fprintf(stderr, "kzgen: %s\n", error.what());
        return kzgen::exitErrors;
    }
}
