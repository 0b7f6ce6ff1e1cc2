// Reads documents from text: items, and the order of statements.
#include "host/objects/scene_reader.h"

#include "host/objects/item.h"
#include "host/objects/references.h"
#include "host/objects/scene_codes.h"

#include <fmt/format.h>

#include <algorithm>
#include <charconv>

namespace kzhost {

namespace {

// Reads the two lines with which a text begins.
std::string readHead(CSceneWords& in) {
    if (!in.next() || in.keyword() != "kzscene")
        CSceneWords::failAt(1, 1, "this is no scene file: it does not begin with \"kzscene\" and a version");
    const std::int64_t version = in.integer(1, INT32_MAX);
    if (version > kzSceneFormatVersion)
        in.fail(
            fmt::format("the format has version {}; this host reads versions up to {}", version, kzSceneFormatVersion));
    if (!in.next() || in.keyword() != "scene") in.fail("the statement \"scene\" belongs here");
    return in.text();
}

}  // namespace

const std::map<std::string_view, CSceneReader::Row>& CSceneReader::statements() {
    using R = CSceneReader;
    static const std::map<std::string_view, Row> theRows{{"type", {&R::type, Part::top}},
                                                         {"title", {&R::title, Part::type}},
                                                         {"channel", {&R::channel, Part::item}},
                                                         {"minimum", {&R::minimum, Part::channel}},
                                                         {"maximum", {&R::maximum, Part::channel}},
                                                         {"unit", {&R::unit, Part::channel}},
                                                         {"object", {&R::object, Part::channel}},
                                                         {"from", {&R::from, Part::channel}},
                                                         {"choices", {&R::choices, Part::channel}},
                                                         {"choice", {&R::choice, Part::channel}},
                                                         {"item", {&R::item, Part::top}},
                                                         {"name", {&R::name, Part::item}},
                                                         {"flags", {&R::flags, Part::item}},
                                                         {"tag", {&R::tag, Part::item}},
                                                         {"package", {&R::package, Part::item}},
                                                         {"data", {&R::data, Part::item}},
                                                         {"value", {&R::value, Part::item}},
                                                         {"action", {&R::action, Part::item}},
                                                         {"reset", {&R::reset, Part::item}},
                                                         {"override", {&R::overridden, Part::item}},
                                                         {"envelope", {&R::envelope, Part::item}},
                                                         {"key", {&R::key, Part::envelope}},
                                                         {"mesh", {&R::mesh, Part::item}},
                                                         {"place", {&R::place, Part::top}},
                                                         {"instance", {&R::instance, Part::top}},
                                                         {"link", {&R::link, Part::top}},
                                                         {"member", {&R::member, Part::top}},
                                                         {"wire", {&R::wire, Part::top}},
                                                         {"attribute", {&R::attribute, Part::wire}},
                                                         {"end", {&R::end, Part::top}}};
    return theRows;
}

void CSceneReader::item() {
    const std::string typeName = m_in.text();
    const ItemType* type = kzFindItemType(typeName);
    if (const auto described = m_types.find(typeName); type == nullptr && described != m_types.end())
        type = described->second;
    if (type == nullptr) m_in.fail("there is no type of items \"" + typeName + "\", and the file does not describe it");
    const std::string ident = m_in.text();
    if (ident.empty()) m_in.fail("an item needs an identifier");
    const auto [entry, isNew] = m_items.emplace(ident, nullptr);
    if (!isNew) m_in.fail("there are two items \"" + ident + "\"");
    m_isLeftOut = false;
    if (type->number == KZiITYPE_ROOT) {
        if (m_items.size() > 1) m_in.fail("the scene item comes first, and there is one");
        m_isLeftOut = m_isImport;
        m_item = entry->second = m_isImport ? nullptr : m_document.root();
        return;
    }
    if (type->number == KZiITYPE_ANY) m_in.fail("no item has the type \"" + typeName + "\" itself");
    const bool isTaken = m_document.byIdent(m_prefix + ident) != nullptr;
    if (isTaken && !m_isImport) m_in.fail("the identifier is that of the scene item");
    m_item = entry->second = &m_edit.add(m_document, *type, isTaken ? std::string() : m_prefix + ident);
}

void CSceneReader::name() {
    std::string name = m_in.text();
    const std::uint32_t number = m_in.hasMore() ? static_cast<std::uint32_t>(m_in.integer(1, kzMostItems)) : 0;
    m_edit.rename(current(), std::move(name), m_isImport ? 0 : number);
}

void CSceneReader::flags() { m_edit.setFlags(current(), m_in.uint32() & ~std::uint32_t{KZfITEM_REFERENCE}); }

void CSceneReader::tag() {
    const std::uint32_t code = kzReadCode(m_in);
    m_edit.setTag(current(), code, m_in.text());
}

// As with its data, the host may not have the package.
void CSceneReader::package() {
    std::string name = m_in.text();
    if (name.empty()) m_in.fail("a package needs a name");
    if (std::ranges::find(current().packages, name) != current().packages.end())
        m_in.fail("the item has the package \"" + name + "\" already");
    current().packages.push_back(std::move(name));
}

// The bytes are those of a module that this host may not have.
void CSceneReader::data() {
    const std::string package = m_in.text();
    const std::uint32_t version = m_in.uint32();
    const std::string_view digits = m_in.word();
    auto [entry, isNew] = current().modules.data.try_emplace(package, std::make_shared<ModuleState::Data>());
    if (!isNew) m_in.fail("the item has data of \"" + package + "\" already");
    entry->second->version = version;
    std::string& bytes = entry->second->bytes;
    for (std::size_t at = 0; at < digits.size(); at += 2) {
        std::uint8_t byte = 0;
        const char* end = digits.data() + std::min(at + 2, digits.size());
        if (std::from_chars(digits.data() + at, end, byte, 16).ptr != digits.data() + at + 2)
            m_in.fail("data are bytes, each of two hexadecimal digits");
        bytes += static_cast<char>(byte);
    }
}

// What says something of a channel of an item, and of nothing else.
static bool isOfChannels(std::string_view statement) {
    static const std::set<std::string_view> ofChannels{"value", "action", "envelope", "key", "reset"};
    return ofChannels.contains(statement);
}

void CSceneReader::overridden() {
    if (std::string_view(current().type.name) != KZsITYPE_REFERENCE)
        m_in.fail(fmt::format("a {} refers to no scene", current().type.name));
    const std::string ident = m_in.text();
    if (ident.empty()) m_in.fail("what was changed needs the identifier of an item");
    const std::string text = m_in.text();
    for (std::string_view rest = text; !rest.empty();) {
        const std::string_view line = rest.substr(0, rest.find('\n'));
        rest.remove_prefix(std::min(line.size() + 1, rest.size()));
        const std::string_view statement = line.substr(0, line.find_first_of(" \t"));
        if (!line.empty() && !isOfChannels(statement))
            m_in.fail(fmt::format("\"{}\" says nothing about a channel", statement));
    }
    if (!kzKeepOverride(current(), ident, text)) m_in.fail("what was changed of \"" + ident + "\" is there already");
}

void CSceneReader::mesh() {
    if (std::string_view(current().type.name) != KZsITYPE_MESH)
        m_in.fail(fmt::format("a {} has no mesh", current().type.name));
    if (current().geometry != nullptr) m_in.fail("the item has a mesh already");
    m_mesh.emplace();
}

void CSceneReader::end() {
    const auto count = static_cast<std::size_t>(m_in.integer(0, kzMostItems));
    if (count != m_items.size())
        m_in.fail(fmt::format("there are {} items, and {} were written", m_items.size(), count));
    m_isOver = true;
}

Item& CSceneReader::current() const {
    if (m_item == nullptr) m_in.fail("an item comes first");
    return *m_item;
}

Item* CSceneReader::itemNamed() {
    const std::string ident = m_in.text();
    const auto entry = m_items.find(ident);
    if (entry == m_items.end()) m_in.fail("there is no item \"" + ident + "\"");
    return entry->second;
}

void CSceneReader::finishMesh() {
    if (m_mesh) kzGiveMesh(*m_item, m_mesh->finish());
    m_mesh.reset();
}

void CSceneReader::finishPart() {
    finishChannel();
    finishEnvelope();
}

void CSceneReader::finishAll() {
    finishType();
    finishPart();
    finishMesh();
    for (auto& [info, state] : m_states) m_edit.setChannel(*m_item, *info, std::move(state));
    m_states.clear();
    m_item = nullptr;
    m_isLeftOut = false;
}

// Channels that refer to items do so by identifiers, some of which an import has changed.
void CSceneReader::restoreReferences() {
    for (const auto& [ident, item] : m_items) {
        if (item == nullptr) continue;
        std::vector<std::pair<const ChannelInfo*, std::string>> changed;
        for (const auto& [info, state] : item->values) {
            const auto* text = state.value ? std::get_if<std::string>(&*state.value) : nullptr;
            if (info->kind != ChannelKind::itemReference || text == nullptr) continue;
            const auto target = m_items.find(*text);
            if (target != m_items.end() && target->second != nullptr && target->second->ident != *text)
                changed.emplace_back(info, target->second->ident);
        }
        for (auto& [info, text] : changed) m_edit.setValue(*item, *info, std::move(text));
    }
}

void CSceneReader::run() {
    readHead(m_in);
    while (m_in.next()) {
        if (m_isOver) m_in.fail("nothing belongs behind the end");
        if (m_mesh && m_mesh->take(m_in)) continue;
        const auto row = statements().find(m_in.keyword());
        if (row == statements().end())
            m_in.fail("there is no statement \"" + std::string(m_in.keyword().substr(0, 40)) + "\"");
        const bool isAside = row->second.part == Part::type || row->second.part == Part::wire;
        if (m_isLeftOut && row->second.part != Part::top && !isAside) {
            m_in.passOver();
            continue;
        }
        if (row->second.part == Part::top) finishAll();
        else if (row->second.part == Part::item) finishPart();
        (this->*row->second.run)();
        if (m_items.size() > static_cast<std::size_t>(kzMostItems)) m_in.fail("there are too many items");
    }
    if (!m_isOver) m_in.fail("the file ends before the statement \"end\": it is incomplete");
    if (m_isImport) restoreReferences();
    refuseCircles();
    setSources();
}

void CSceneReader::runReferenced(Item& reference) {
    m_prefix = reference.ident + "/";
    run();
    const auto add = [&](Item& item) { m_edit.setFlags(item, item.flags | KZfITEM_REFERENCE); };
    std::unordered_set<const Item*> added;
    for (const auto& [ident, item] : m_items)
        if (item != nullptr && added.insert(item).second) add(*item);
    std::vector<Item*> tops;
    m_document.roots().each([&](Item& root) {
        if (added.contains(&root)) tops.push_back(&root);
    });
    for (Item* top : tops) m_edit.place(*top, &reference, CEdit::last);
}

void CSceneReader::runChannels(Item& item) {
    m_item = &item;
    while (m_in.next()) {
        if (!isOfChannels(m_in.keyword())) m_in.fail("only values of channels belong here");
        const Row& row = statements().at(m_in.keyword());
        if (row.part == Part::item) finishPart();
        (this->*row.run)();
    }
    finishAll();
}

std::string kzSceneName(std::string_view text) {
    CSceneWords in(text);
    return readHead(in);
}

RenamedItems CSceneReader::renamed() const {
    RenamedItems renamed;
    for (const auto& [ident, item] : m_items)
        if (item != nullptr && item->ident != ident) renamed.emplace(ident, item->ident);
    return renamed;
}

RenamedItems kzReadReferenced(std::string_view text, Item& reference, CEdit& edit) {
    CSceneReader reader(text, reference.document, edit, true);
    reader.runReferenced(reference);
    return reader.renamed();
}

void kzReadChannels(std::string_view text, Item& item, CEdit& edit) {
    CSceneReader(text, item.document, edit, false).runChannels(item);
}

RenamedItems kzReadScene(std::string_view text, CDocument& document, CEdit& edit, bool isImport) {
    CSceneReader reader(text, document, edit, isImport);
    reader.run();
    return isImport ? reader.renamed() : RenamedItems();
}

}  // namespace kzhost
