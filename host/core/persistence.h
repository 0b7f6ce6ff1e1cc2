// Entries that modules define in the user's configuration, with the clients that own them.
//
// An entry is a node of a tree of definitions. Its values are records of the preferences, named by the path of the node with
// the key of the selected instance behind each hash or list on the way.
#pragma once

#include "host/core/object.h"
#include "host/state/preferences.h"

#include "kz/persist.h"

#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

namespace kzhost {

class CLogStore;
class CModuleTable;
class CValueTypeRegistry;
struct KzServer;
struct KzValueType;

struct PersistentNode {
    std::string name;
    std::uint32_t kind = KZiPERSIST_ATOM;
    const KzValueType* type = nullptr;  // of a value; null for what holds other entries
    std::string preset;
    PersistentNode* parent = nullptr;
    std::vector<std::unique_ptr<PersistentNode>> subs;
    std::optional<std::string> selected;  // the key of the instance that the entries below belong to

    bool hasInstances() const { return kind == KZiPERSIST_HASH || kind == KZiPERSIST_LIST; }
};

class CPersistence : public std::enable_shared_from_this<CPersistence> {
public:
    CPersistence(std::shared_ptr<CPreferences> preferences, std::shared_ptr<CValueTypeRegistry> types,
                 std::shared_ptr<CLogStore> log)
        : m_preferences(std::move(preferences)), m_types(std::move(types)), m_log(std::move(log)) {}

    // Definitions. Defining an entry again as it was is no mistake; ALREADYEXISTS for another kind or type.
    PersistentNode& begin(const std::string& name, std::uint32_t kind);
    PersistentNode& addValue(const std::string& name, const std::string& type, const std::string& preset);
    void end();

    KzResult configure(const std::string& name, IKzUnknown* object);
    // Configures a server of the class of clients under its own name.
    void configureServer(const KzServer& server);
    PersistentNode& lookup(std::string_view path);  // throws NOTFOUND
    KzResult import(const std::string& path);
    KzResult exportTo(const std::string& name, const std::string& path) const;
    bool isModified(const std::string& name) const;
    // Before the preferences are written: asks the clients for what is to be stored, and releases them.
    void finish();

    // What an entry answers. All throw a code for what the entry has not.
    PersistentNode& sub(PersistentNode& node, std::string_view name) const;
    std::vector<std::string> keys(const PersistentNode& node) const;
    void select(PersistentNode& node, const std::string& key) const;
    void append(PersistentNode& node, const std::string& key);
    void remove(PersistentNode& node);
    std::string pathOf(const PersistentNode& node) const;
    std::string text(const PersistentNode& node) const;
    void setText(const std::string& path, std::string text) { m_preferences->set(kind, path, {std::move(text)}); }
    CValueTypeRegistry& types() const { return *m_types; }

    IKzUnknown* makeEntry(PersistentNode& node);

private:
    static constexpr const char* kind = "persist";
    struct Client {
        PersistentNode* root;
        CKzUser_PersistenceClient client;
    };
    PersistentNode& define(const std::string& name, std::uint32_t kind, const KzValueType* type);
    bool hasData(const PersistentNode& root) const;
    void tell(const Client& client, KzResult (*call)(const CKzUser_PersistenceClient& client, IKzUnknown* root),
              const char* what);
    void dropBelow(const std::string& path);

    std::shared_ptr<CPreferences> m_preferences;
    std::shared_ptr<CValueTypeRegistry> m_types;
    std::shared_ptr<CLogStore> m_log;
    mutable std::recursive_mutex m_lock;
    PersistentNode m_top;
    std::vector<PersistentNode*> m_open;  // the entries that were begun and not ended, the innermost last
    std::vector<std::unique_ptr<Client>> m_clients;
};

}  // namespace kzhost
