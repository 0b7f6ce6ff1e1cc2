// What the emitters share: the list of parts, and output files that are written only if they change.
#pragma once

#include <filesystem>
#include <iterator>
#include <string>
#include <string_view>
#include <vector>

#include "model.h"

namespace kzgen {

// Where an emitter writes the text of a file.
using Text = std::back_insert_iterator<std::string>;

// The folder that an emitter writes to.
class Output {
public:
    explicit Output(std::filesystem::path folder) : m_folder(std::move(folder)) {}

    // Writes a file. One that has this text already keeps its date, so that nothing is rebuilt because of it.
    void write(const std::string& name, std::string_view text);

private:
    std::filesystem::path m_folder;
};

// One of the things that can be generated.
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

void emitSdk(const Model& model, Output& output);
void emitWrap(const Model& model, Output& output);
void emitServe(const Model& model, Output& output);
void emitLoopback(const Model& model, Output& output);
void emitKzifc(const Model& model, Output& output);
void emitRecorder(const Model& model, Output& output);
void emitModel(const Model& model, Output& output);
void emitManifest(const Model& model, Output& output);
void emitStubs(const Model& model, Output& output);

}  // namespace kzgen
