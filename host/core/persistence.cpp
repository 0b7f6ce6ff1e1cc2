// Entries that modules define in the user's configuration.
#include "host/core/persistence.h"

#include "host/core/log_store.h"
#include "host/core/module_table.h"
#include "host/core/reason_guard.h"
#include "host/core/reasons.h"
#include "host/core/value_type_registry.h"
#include "host/core/values.h"
#include "host/state/preference_file.h"
#include "host/state/text.h"

#include "kz/result.h"
#include "kz/value.h"

#include <algorithm>
#include <charconv>
#include <unistd.h>

namespace kzhost {

namespace {

// A key as a part of a path.
std::string escaped(std::string_view key) {
    std::string text;
    for (const char c : key) {
        if (c == '/') text += "%2F";
        else if (c == '%') text += "%25";
        else text += c;
    }
    return text;
}

std::string unescaped(std::string_view part) {
    std::string text;
    for (std::size_t at = 0; at < part.size(); ++at) {
        const std::string_view code = part.substr(at, 3);
        if (code == "%2F" || code == "%25") {
            text += code == "%2F" ? '/' : '%';
            at += 2;
        } else {
            text += part[at];
        }
    }
    return text;
}

// A value of an entry. What is set goes into the preferences at once.
class CPersistentValue final : public CHosted<"persistent value", CPersistentValue, CKzIfc_Value> {
public:
    CPersistentValue(std::shared_ptr<CPersistence> owner, std::string path, const KzValueType& type, KzCell cell)
        : m_owner(std::move(owner)), m_path(std::move(path)), m_value(CHostRef<CValue>::make(type, std::move(cell))) {}

    std::uint32_t val_Type() override { return m_value->val_Type(); }
    KzResult val_TypeName(const char** type) override { return m_value->val_TypeName(type); }
    KzResult val_Copy(IKzUnknown* other) override { return stored(m_value->val_Copy(other)); }
    KzResult val_Compare(IKzUnknown* other, std::int32_t* order) override { return m_value->val_Compare(other, order); }
    KzResult val_GetInt(std::int32_t* value) override { return m_value->val_GetInt(value); }
    KzResult val_SetInt(std::int32_t value) override { return stored(m_value->val_SetInt(value)); }
    KzResult val_GetFlt(double* value) override { return m_value->val_GetFlt(value); }
    KzResult val_SetFlt(double value) override { return stored(m_value->val_SetFlt(value)); }
    KzResult val_GetString(char* buffer, std::uint32_t length) override {
        return m_value->val_GetString(buffer, length);
    }
    KzResult val_SetString(const char* value) override { return stored(m_value->val_SetString(value)); }

private:
    KzResult stored(KzResult code) {
        if (kzSucceeded(code)) m_owner->setText(m_path, kzFormatCell(m_value->type(), m_value->cell()));
        return code;
    }

    std::shared_ptr<CPersistence> m_owner;
    std::string m_path;
    CHostRef<CValue> m_value;
};

class CPersistentEntry final : public CHosted<"persistent entry", CPersistentEntry, CKzIfc_PersistentEntry> {
public:
    CPersistentEntry(std::shared_ptr<CPersistence> owner, PersistentNode& node)
        : m_owner(std::move(owner)), m_node(node) {}

    KzResult persistententry_Name(const char** name) override {
        *name = m_node.name.c_str();
        return KZe_OK;
    }
    std::uint32_t persistententry_Kind() override { return m_node.kind; }
    std::uint32_t persistententry_Count() override { return static_cast<std::uint32_t>(m_owner->keys(m_node).size()); }
    KzResult persistententry_Select(const char* key) override {
        m_owner->select(m_node, kzString(key));
        return KZe_OK;
    }
    KzResult persistententry_Append(const char* key) override {
        m_owner->append(m_node, kzString(key));
        return KZe_OK;
    }
    KzResult persistententry_Delete() override {
        m_owner->remove(m_node);
        return KZe_OK;
    }
    KzResult persistententry_Value(IKzUnknown** value) override {
        if (m_node.type == nullptr) return KZe_NOTAVAILABLE;
        const std::string text = m_owner->text(m_node);
        const auto cell = m_owner->types().cellOfText(*m_node.type, text);
        *value = kzMakeObject<CPersistentValue>(m_owner, m_owner->pathOf(m_node), *m_node.type,
                                                cell ? *cell : kzEmptyCell(*m_node.type));
        return KZe_OK;
    }
    KzResult persistententry_SubByName(const char* name, IKzUnknown** entry) override {
        *entry = m_owner->makeEntry(m_owner->sub(m_node, kzTextOf(name)));
        return KZe_OK;
    }

private:
    std::shared_ptr<CPersistence> m_owner;
    PersistentNode& m_node;
};

}  // namespace

IKzUnknown* CPersistence::makeEntry(PersistentNode& node) {
    return kzMakeObject<CPersistentEntry>(shared_from_this(), node);
}

PersistentNode& CPersistence::define(const std::string& name, std::uint32_t kind, const KzValueType* type) {
    if (name.empty() || name.find('/') != std::string::npos)
        throw kzBecause(KZe_INVALIDARG, "Persistence", [&] { return kzIsNot(name, "a name without a slash"); });
    PersistentNode& parent = m_open.empty() ? m_top : *m_open.back();
    for (const auto& each : parent.subs) {
        if (each->name != name) continue;
        if (each->kind == kind && each->type == type) return *each;
        throw kzBecause(KZe_ALREADYEXISTS, "Persistence",
                        [&] { return "\"" + name + "\" is defined already, with another kind or type"; });
    }
    auto node = std::make_unique<PersistentNode>();
    node->name = name;
    node->kind = kind;
    node->type = type;
    node->parent = &parent;
    return *parent.subs.emplace_back(std::move(node));
}

PersistentNode& CPersistence::begin(const std::string& name, std::uint32_t kind) {
    const CReasonGuard lock(m_lock);
    if (kind > KZiPERSIST_LIST)
        throw kzBecause(KZe_INVALIDARG, "Persistence.Begin", [&] {
            return kzIsNot(std::to_string(kind), "a kind of entry that holds others, from 0 to 2");
        });
    PersistentNode& node = define(name, kind, nullptr);
    m_open.push_back(&node);
    return node;
}

PersistentNode& CPersistence::addValue(const std::string& name, const std::string& type, const std::string& preset) {
    const KzValueType& known = m_types->need(KZe_NOTFOUND, "Persistence.AddValue", type);
    if (known.isServed)
        throw kzBecause(KZe_NOTSUPPORTED, "Persistence.AddValue",
                        [&] { return "only values of the host's own types are kept, not of \"" + type + "\""; });
    if (!preset.empty() && !kzParseCell(known, preset))
        throw kzBecause(KZe_INVALIDARG, "Persistence.AddValue", [&] { return kzIsNot(preset, known.expects); });
    const CReasonGuard lock(m_lock);
    if (m_open.empty())
        throw kzBecause(KZe_NOTREADY, "Persistence.AddValue",
                        [&] { return "\"" + name + "\" is outside of Begin and End, and of a client's Setup"; });
    const bool isOfInstance = m_open.back()->hasInstances();
    PersistentNode& node = define(name, isOfInstance ? KZiPERSIST_ATTRIBUTE : KZiPERSIST_ATOM, &known);
    node.preset = preset;
    return node;
}

void CPersistence::end() {
    const CReasonGuard lock(m_lock);
    if (m_open.empty()) throw kzBecause(KZe_NOTREADY, "Persistence.End", [] { return "no entry was begun"; });
    m_open.pop_back();
}

bool CPersistence::hasData(const PersistentNode& root) const {
    return !m_preferences->names(kind, root.name + "/").empty();
}

void CPersistence::tell(const Client& client,
                        KzResult (*call)(const CKzUser_PersistenceClient& client, IKzUnknown* root), const char* what) {
    CKzLoc_Unknown entry;
    *entry.out() = makeEntry(*client.root);
    const KzResult code = call(client.client, entry.raw());
    if (kzFailed(code) && code != KZe_NOTIMPL)
        m_log->write("persistence", code,
                     "the client of \"" + client.root->name + "\" failed in " + what + ": " + kzCodeName(code));
}

KzResult CPersistence::configure(const std::string& name, IKzUnknown* object) {
    auto client = std::make_unique<Client>();
    if (!client->client.set(object)) return KZe_INVALIDARG;
    std::vector<PersistentNode*> outer;
    {
        const CReasonGuard lock(m_lock);
        outer.swap(m_open);
        client->root = nullptr;
        try {
            client->root = &begin(name, KZiPERSIST_ATOM);
        } catch (...) {
            m_open.swap(outer);
            throw;
        }
    }
    const KzResult code = client->client.Setup();
    const CReasonGuard lock(m_lock);
    m_open.swap(outer);  // also ends what the client has left open
    if (kzFailed(code)) return code;
    const Client& kept = *m_clients.emplace_back(std::move(client));
    if (hasData(*kept.root))
        tell(
            kept, [](const auto& each, IKzUnknown* root) { return each.Loaded(root); }, "Loaded");
    return KZe_OK;
}

void CPersistence::configureServer(const KzServer& server) {
    KzResult code = KZe_OK;
    try {
        CKzLoc_Unknown client;
        code = configure(server.name, CModuleTable::spawn(server, client).raw());
    } catch (KzResult thrown) {
        code = thrown;
    }
    if (kzFailed(code))
        m_log->write("persistence", code,
                     "the client \"" + server.name + "\" cannot define its entries: " + kzCodeName(code));
}

PersistentNode& CPersistence::sub(PersistentNode& node, std::string_view name) const {
    const CReasonGuard lock(m_lock);
    for (const auto& each : node.subs)
        if (each->name == name) return *each;
    throw kzBecause(KZe_NOTFOUND, "Persistence",
                    [&] { return kzThereIsNo("entry", name, node.subs, [](const auto& each) { return each->name; }); });
}

// What follows the name of a hash or list is the key or the number of an instance, which is then selected.
PersistentNode& CPersistence::lookup(std::string_view path) {
    const CReasonGuard lock(m_lock);
    PersistentNode* node = &m_top;
    bool isKeyNext = false;
    do {
        const std::size_t end = std::min(path.find('/'), path.size());
        const std::string_view part = path.substr(0, end);
        if (isKeyNext) select(*node, unescaped(part));
        else node = &sub(*node, part);
        isKeyNext = !isKeyNext && node->hasInstances();
        path.remove_prefix(std::min(end + 1, path.size()));
    } while (!path.empty());
    return *node;
}

std::string CPersistence::pathOf(const PersistentNode& node) const {
    const CReasonGuard lock(m_lock);
    if (node.parent == nullptr) return {};
    std::string path = pathOf(*node.parent);
    if (node.parent->hasInstances()) {
        if (!node.parent->selected)
            throw kzBecause(KZe_NOTAVAILABLE, "Persistence",
                            [&] { return "no instance of \"" + node.parent->name + "\" is selected"; });
        path += "/" + escaped(*node.parent->selected);
    }
    return path.empty() ? node.name : path + "/" + node.name;
}

std::vector<std::string> CPersistence::keys(const PersistentNode& node) const {
    const CReasonGuard lock(m_lock);
    std::vector<std::string> all;
    if (!node.hasInstances()) return all;
    const std::string prefix = pathOf(node) + "/";
    for (const std::string& name : m_preferences->names(kind, prefix))
        if (name.find('/', prefix.size()) == std::string::npos) all.push_back(unescaped(name.substr(prefix.size())));
    return all;
}

void CPersistence::select(PersistentNode& node, const std::string& key) const {
    const CReasonGuard lock(m_lock);
    if (!node.hasInstances()) throw KZe_NOTAVAILABLE;
    const auto all = keys(node);
    if (node.kind == KZiPERSIST_HASH) {
        if (std::find(all.begin(), all.end(), key) == all.end())
            throw kzBecause(KZe_NOTFOUND, "PersistentEntry.Select", [&] { return kzThereIsNo("instance", key, all); });
        node.selected = key;
        return;
    }
    std::size_t index = 0;
    const auto [end, error] = std::from_chars(key.data(), key.data() + key.size(), index);
    if (error != std::errc() || end != key.data() + key.size() || index >= all.size())
        throw kzBecause(KZe_NOTFOUND, "PersistentEntry.Select",
                        [&] { return "there is no instance " + key + "; there are " + std::to_string(all.size()); });
    node.selected = all[index];
}

// A list's keys are numbers that grow, and end with the process, so that two processes that append keep both instances.
void CPersistence::append(PersistentNode& node, const std::string& key) {
    const CReasonGuard lock(m_lock);
    if (!node.hasInstances()) throw KZe_NOTAVAILABLE;
    const auto all = keys(node);
    std::string chosen = key;
    if (node.kind == KZiPERSIST_LIST) {
        std::uint32_t last = 0;
        if (!all.empty()) std::from_chars(all.back().data(), all.back().data() + all.back().size(), last);
        const std::string number = std::to_string(last + 1);
        chosen =
            std::string(10 - std::min<std::size_t>(number.size(), 10), '0') + number + "." + std::to_string(getpid());
    } else if (key.empty() || std::find(all.begin(), all.end(), key) != all.end()) {
        throw kzBecause(key.empty() ? KZe_INVALIDARG : KZe_ALREADYEXISTS, "PersistentEntry.Append", [&] {
            return key.empty() ? std::string("an instance needs a key")
                               : "there is an instance \"" + key + "\" already";
        });
    }
    m_preferences->set(kind, pathOf(node) + "/" + escaped(chosen), {});
    node.selected = chosen;
}

void CPersistence::dropBelow(const std::string& path) {
    for (const std::string& name : m_preferences->names(kind, path + "/")) m_preferences->remove(kind, name);
    m_preferences->remove(kind, path);
}

void CPersistence::remove(PersistentNode& node) {
    const CReasonGuard lock(m_lock);
    if (node.hasInstances() && node.selected) {
        dropBelow(pathOf(node) + "/" + escaped(*node.selected));
        node.selected.reset();
    } else {
        dropBelow(pathOf(node));
    }
}

std::string CPersistence::text(const PersistentNode& node) const {
    const auto fields = m_preferences->get(kind, pathOf(node));
    return fields && !fields->empty() ? fields->front() : node.preset;
}

KzResult CPersistence::import(const std::string& path) {
    PreferenceRecords all;
    std::string why;
    if (!kzReadPreferences(path, all, why)) return kzBecause(KZe_FAILED, "Persistence.Import", [&] { return why; });
    for (const auto& [key, fields] : all.records)
        if (key.first == kind) m_preferences->set(key.first, key.second, fields);
    const CReasonGuard lock(m_lock);
    for (const auto& client : m_clients)
        if (std::any_of(all.records.begin(), all.records.end(), [&](const auto& record) {
                return record.first.first == kind && record.first.second.starts_with(client->root->name + "/");
            }))
            tell(
                *client, [](const auto& each, IKzUnknown* root) { return each.Loaded(root); }, "Loaded");
    return KZe_OK;
}

KzResult CPersistence::exportTo(const std::string& name, const std::string& path) const {
    PreferenceRecords all;
    std::string why;
    for (const std::string& each : m_preferences->names(kind, name))
        if (each == name || each.starts_with(name + "/"))
            all.records[{kind, each}] = m_preferences->get(kind, each).value();
    if (kzWritePreferences(path, all, why)) return KZe_OK;
    return kzBecause(KZe_NOACCESS, "Persistence.Export", [&] { return why; });
}

bool CPersistence::isModified(const std::string& name) const { return m_preferences->isChanged(kind, name + "/"); }

void CPersistence::finish() {
    std::vector<std::unique_ptr<Client>> clients;
    {
        const CReasonGuard lock(m_lock);
        clients.swap(m_clients);
    }
    for (const auto& client : clients)
        tell(
            *client, [](const auto& each, IKzUnknown* root) { return each.Storing(root); }, "Storing");
}

}  // namespace kzhost
