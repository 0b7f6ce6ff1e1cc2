// The modifiers of modules: servers that compute channels of items while these are evaluated.
#pragma once

#include "host/core/module_table.h"
#include "host/document/evaluation.h"
#include "host/objects/item.h"

#include <atomic>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <unordered_map>
#include <vector>

namespace kzhost {

// A modifier as a server has declared it, with what tells whether that still holds.
class CServedModifier : public CModifier {
public:
    // Its item or the links of that have changed. False if the server has to declare the modifier anew.
    virtual bool renew() = 0;
    // The order of its tag, smaller ones first.
    std::int32_t order = 0;
    std::uint32_t number = 0;  // tells several modifiers of one item apart
    std::uint64_t stamp = 0;   // that of the document when it was declared or renewed

    bool ownsItsChannels() const;  // the lock must be held
};
using ServedModifiers = std::vector<std::shared_ptr<CServedModifier>>;
using ModifiersByItem = std::unordered_map<const Item*, ServedModifiers>;

// The modifier from before, if its server says that it goes on; null if there is none.
std::shared_ptr<CServedModifier> kzRenewed(const KzServer& server, const CItem& item, std::uint32_t number,
                                           const ModifiersByItem& known);
// Throw the server's code. Null if the server needs no modifier for the item.
std::shared_ptr<CServedModifier> kzDeclareChannelModItem(const KzServer& server, CHostRef<CItem> item);
std::shared_ptr<CServedModifier> kzDeclareChannelModManager(const KzServer& server, CHostRef<CItem> item);
// All modifiers of an EvalModifier; `items` are those that its tag names. What `known` has is kept where it still holds.
ServedModifiers kzDeclareEvalModifiers(const KzServer& server, CDocument& document,
                                       const std::vector<CHostRef<CItem>>& items, const ModifiersByItem& known);

class CServedModifiers final : public ModifierSource {
public:
    explicit CServedModifiers(std::shared_ptr<CModuleTable> modules) : m_modules(std::move(modules)) {}
    std::shared_ptr<const ModifierSet> modifiers(CDocument& document) override;
    // Releases everything of the modules, before they go.
    void clear();

private:
    struct Known {
        ItemRef root;
        std::uint64_t servers = 0, structure = 0;
        ServedModifiers modifiers;
        std::shared_ptr<const ModifierSet> set;
    };
    ServedModifiers declare(CDocument& document, const ModifiersByItem& known);

    std::shared_ptr<CModuleTable> m_modules;
    std::mutex m_lock;  // never held while a server is called
    std::map<CDocument*, Known> m_known;
    std::atomic<std::uint64_t> m_noServersAt = UINT64_MAX;  // the modules' changes after which there were none
};

}  // namespace kzhost
