// Commands for settings of the host: aliases of folders, and units.
#include "host/commands/setting_commands.h"

#include "host/commands/builtin_command.h"
#include "host/core/reasons.h"
#include "host/state/path_aliases.h"
#include "host/state/property_table.h"

#include "kz/command.h"
#include "kz/result.h"
#include "kz/value.h"

#include <algorithm>
#include <iterator>
#include <string>

namespace kzhost {

namespace {

constexpr ArgumentRow fileAliasArguments[] = {
    {KZsARG_ALIAS_NAME, KZsTYPE_STRING, kzQueryable, "the alias, without its colon; queried, all of them"},
    {KZsARG_ALIAS_PATH, KZsTYPE_FILEPATH, kzOptional | kzQueryable, "the folder that it stands for; empty removes it"},
};

void setFileAlias(CPathAliases& files, CBuiltinCommand& command) {
    const std::string name = command.text(KZsARG_ALIAS_NAME);
    if (name.empty() || name.find_first_of(":/") != std::string::npos)
        kzRefuse(KZe_INVALIDARG, "argument \"alias\": \"" + name + "\" should be a name without colon and slash");
    if (!command.has(KZsARG_ALIAS_PATH))
        kzRefuse(KZe_CMD_MISSING_ARGS, "argument \"path\" is missing; it is the folder that the alias stands for");
    files.setAlias(name, command.text(KZsARG_ALIAS_PATH));
}

Texts queryFileAlias(CPathAliases& files, CBuiltinCommand& command, std::uint32_t index) {
    Texts names, paths;
    const std::string alias = command.text(KZsARG_ALIAS_NAME);
    for (const auto& [name, path] : files.aliases()) {
        names.push_back(name);
        if (name == alias) paths.push_back(path);
    }
    if (index == 0) return names;
    if (paths.empty()) kzRefuse(KZe_NOTFOUND, kzThereIsNo("file alias", alias, names));
    return paths;
}

constexpr const char* unitSystems[] = {KZsUNITSYSTEM_SI, KZsUNITSYSTEM_METRIC, KZsUNITSYSTEM_ENGLISH};
constexpr KzTextValueHint unitHints[] = {
    {0, KZsUNITSYSTEM_SI}, {1, KZsUNITSYSTEM_METRIC}, {2, KZsUNITSYSTEM_ENGLISH}, {0, nullptr}};
constexpr ArgumentRow unitArguments[] = {
    {KZsARG_UNIT_SYSTEM, KZsTYPE_CHOICE, kzQueryable | KZfCMDARG_TOGGLE, "the system of units", unitHints}};

void setUnits(CPropertyTable& properties, CBuiltinCommand& command) {
    properties.set("units", unitSystems[command.integer(KZsARG_UNIT_SYSTEM).value_or(0)]);
}

Texts queryUnits(CPropertyTable& properties, CBuiltinCommand& /*command*/, std::uint32_t /*index*/) {
    const std::string system = properties.get("units").value_or(KZsUNITSYSTEM_SI);
    return {
        std::to_string(std::find(std::begin(unitSystems), std::end(unitSystems), system) - std::begin(unitSystems))};
}

}  // namespace

void kzAddSettingCommands(CCommandRegistry& registry, const std::shared_ptr<CPathAliases>& files,
                          const std::shared_ptr<CPropertyTable>& properties) {
    kzAddCommands(registry, {
                                {KZsCMD_FILE_ALIAS, "File Alias", "lets a name stand for a folder", KZfCMD_UI,
                                 fileAliasArguments, kzWith(setFileAlias, files), kzWith(queryFileAlias, files)},
                                {KZsCMD_UNIT_SYSTEM, "Unit System", "chooses the units in which values are shown",
                                 KZfCMD_UI, unitArguments, kzWith(setUnits, properties), kzWith(queryUnits, properties),
                                 nullptr, nullptr, 0},
                            });
}

}  // namespace kzhost
