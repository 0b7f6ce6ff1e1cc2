// What the emitters have in common: named parts, and files that are written only when they change.
#pragma once

#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

#include "model.h"

namespace kzgen {

// Where an emitter puts its files.
class Output {
public:
    explicit Output(std::filesystem::path folder) : m_folder(std::move(folder)) {}

    // A file of the given text. One that has it already keeps its date, so nothing is built again for it.
    void write(const std::string& name, std::string_view text);

private:
    std::filesystem::path m_folder;
};

// One of the things that are made from the model.
struct Part {
    std::string_view name;
    std::string_view purpose;
    void (*emit)(const Model& model, Output& output);
};

const std::vector<Part>& parts();

// The opening comment lines of a generated file. `mark` begins a comment in the file's language.
std::string openingLines(std::string_view mark, std::string_view contents, const Header& header);
std::string openingLines(std::string_view mark, std::string_view contents, const Model& model);

// The text as comment lines of at most 120 columns.
std::string commentLines(std::string_view indent, std::string_view mark, std::string_view text);

// The text as a C string literal with its quotes.
std::string cppLiteral(std::string_view text);

void emitSdk(const Model& model, Output& output);
void emitWrap(const Model& model, Output& output);
void emitServe(const Model& model, Output& output);
void emitLoopback(const Model& model, Output& output);
void emitDocs(const Model& model, Output& output);
void emitKzifc(const Model& model, Output& output);
void emitRecorder(const Model& model, Output& output);

}  // namespace kzgen
