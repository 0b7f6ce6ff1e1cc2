// Commands for files of images: filters.
#include "host/commands/image_commands.h"

#include "host/commands/builtin_command.h"
#include "host/core/command_text.h"
#include "host/core/log_store.h"
#include "host/core/module_table.h"
#include "host/objects/image_files.h"
#include "host/objects/image_filters.h"
#include "host/state/path_aliases.h"

#include "kz/command.h"
#include "kz/result.h"
#include "kz/value.h"

#include <algorithm>
#include <sstream>
#include <string>
#include <vector>

namespace kzhost {

namespace {

constexpr ArgumentRow imageFilterArguments[] = {
    {"filter", KZsTYPE_STRING, kzQueryable, "the filters' names, separated by blanks; queried, all that there are"},
    {"source", KZsTYPE_FILEPATH, 0, "the file that is read"},
    {"target", KZsTYPE_FILEPATH, 0, "the file that is written"},
    {"amount", KZsTYPE_FLOAT, kzOptional, "the opacity of the filtered image over the original, 0 to 1"},
    {"radius", KZsTYPE_FLOAT, kzOptional, "how far the host's own filters look, in pixels: 4 when it is left out"},
    {"threshold", KZsTYPE_FLOAT, kzOptional, "the brightness from which bloom begins, 1 for white"},
    {"clamp", KZsTYPE_BOOLEAN, kzOptional, "keeps the result between 0 and 1"},
};

Texts queryFilters(CModuleTable& modules, CBuiltinCommand& /*command*/, std::uint32_t /*index*/) {
    return kzFilterNames(modules);
}

double numberWithin(CBuiltinCommand& command, const char* name, double otherwise, double least, double most) {
    const double value = command.number(name).value_or(otherwise);
    if (!(value >= least && value <= most))
        throw CommandTextError{KZe_INVALIDARG, std::string("argument \"") + name + "\": it is from " +
                                                   std::to_string(least) + " to " + std::to_string(most)};
    return value;
}

// All names are looked up before anything is done.
std::vector<std::string> demandFilters(const CModuleTable& modules, const std::string& text) {
    const auto known = kzFilterNames(modules);
    std::vector<std::string> wanted;
    std::istringstream words(text);
    for (std::string word; words >> word; wanted.push_back(word))
        if (std::find(known.begin(), known.end(), word) == known.end())
            throw CommandTextError{KZe_NOTFOUND, "argument \"filter\": there is no image filter \"" + word + "\""};
    if (wanted.empty()) throw CommandTextError{KZe_INVALIDARG, "argument \"filter\": it names no filter"};
    return wanted;
}

void filterImage(CModuleTable& modules, CLogStore& log, CPathAliases& files, CImageFiles& images,
                 CBuiltinCommand& command) {
    constexpr double widest = 65536, brightest = 1e6;
    FilterSettings settings;
    settings.attributes = command.rawSelf();  // its arguments have the names of the channels of a filter's item
    settings.amount = numberWithin(command, "amount", 1, 0, 1);
    settings.radius = numberWithin(command, "radius", 4, 0, widest);
    settings.threshold = numberWithin(command, "threshold", 1, -brightest, brightest);
    settings.isClamped = command.flag("clamp");
    const auto filters = demandFilters(modules, command.text("filter"));
    auto image = images.load(files.place(command.text("source").c_str()), nullptr);
    for (const std::string& filter : filters) image = kzFilterImage(modules, log, image.raw(), filter, settings);
    if (const KzResult code = images.save(image.raw(), files.place(command.text("target").c_str()), {}, nullptr);
        kzFailed(code))
        throw code;
}

}  // namespace

void kzAddImageCommands(CCommandRegistry& registry, const std::shared_ptr<CModuleTable>& modules,
                        const std::shared_ptr<CLogStore>& log, const std::shared_ptr<CPathAliases>& files,
                        const std::shared_ptr<CImageFiles>& images) {
    kzAddCommands(registry, {
                                {"image.filter", "Filter Image",
                                 "applies filters to an image file and writes another one", 0, imageFilterArguments,
                                 kzWith(filterImage, modules, log, files, images), kzWith(queryFilters, modules)},
                            });
}

}  // namespace kzhost
