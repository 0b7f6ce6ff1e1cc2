// Presets: files that hold settings to be applied again. Each kind of them is a preset type, the host's own or a module's.
#pragma once

#include "kz/preset.h"
#include "kz/preset_browser.h"

#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace kzhost {

class CModuleTable;
struct OpenScenes;

// The host's own types: the values of an item's channels, and what places for profiles and colors take.
IKzUnknown* kzMakeChannelPresets();
IKzUnknown* kzMakeProfilePresets();
IKzUnknown* kzMakeColorPresets();

struct RecognizedPreset {
    CKzUser_PresetType type;
    std::string category;
};

class CPresets {
public:
    CPresets(std::shared_ptr<CModuleTable> modules, std::shared_ptr<OpenScenes> scenes);

    // The names of all types, and a new object of one. Throws NOTFOUND for an unknown one.
    std::vector<std::string> types() const;
    void make(const std::string& type, CKzUser_PresetType& object) const;
    // False when no type knows the file.
    bool recognize(const std::string& path, RecognizedPreset& preset) const;
    // Throw the code of a failure, which has been explained. All that a preset changes may be one step of the history.
    KzResult apply(const std::string& path, IKzUnknown* destination, bool isStep = false) const;
    void save(const std::string& path, const std::string& type, IKzUnknown* source, IKzUnknown* thumbnail) const;
    // Has the server of a module that knows the name apply its preset. False if none does.
    bool doByName(const std::string& name, IKzUnknown* destination) const;

    // The user's own folder of presets, empty if there is none; the names of those in it; and the path of one.
    static std::string folder();
    std::vector<std::string> names() const;
    static std::string pathOf(const std::string& name);

    // Kinds of destinations, each under a name.
    void registerKind(const KzGuid& kind, const std::string& name);
    std::string kindOf(IKzUnknown* destination) const;  // throws NOTFOUND
    bool accepts(IKzUnknown* destination, const std::string& path) const;
    std::vector<std::string> candidates(const std::string& path) const;

    // Throws NOTFOUND, with the reason.
    void require(const std::string& path, RecognizedPreset& preset) const;

private:
    std::shared_ptr<CModuleTable> m_modules;
    std::shared_ptr<OpenScenes> m_scenes;
    mutable std::mutex m_lock;
    std::vector<std::pair<KzGuid, std::string>> m_kinds;
};

}  // namespace kzhost
