// Types of items as files describe them.
#include "host/document/described_types.h"

#include <algorithm>
#include <mutex>
#include <set>

namespace kzhost {

namespace {

constexpr std::size_t mostTexts = 4096, longestText = 256;

bool sameHints(const COwnedHints* a, const COwnedHints* b) {
    if (a == nullptr || b == nullptr) return a == b;
    const auto *left = a->rows(), *right = b->rows();
    for (; left->text != nullptr && right->text != nullptr; ++left, ++right)
        if (left->value != right->value || std::string_view(left->text) != right->text) return false;
    return left->text == right->text;
}

bool sameChannel(const ChannelInfo& a, const ChannelInfo& b) {
    return a.name == b.name && a.type == b.type && a.initial == b.initial && a.kind == b.kind && a.flags == b.flags &&
           a.minimum == b.minimum && a.maximum == b.maximum && a.vectorSize == b.vectorSize && a.unit == b.unit &&
           a.objectType == b.objectType && sameHints(a.hints.get(), b.hints.get());
}

}  // namespace

bool kzIsDescribedBy(const ItemType& type, const ItemTypeDeclaration& declaration, const ItemType& base) {
    const auto& own = type.declaration();
    return type.super == &base && own.name == declaration.name && own.tags == declaration.tags &&
           std::equal(own.channels.begin(), own.channels.end(), declaration.channels.begin(),
                      declaration.channels.end(), sameChannel);
}

const ItemType& kzDescribedType(const ItemTypeDeclaration& declaration, const ItemType& base) {
    static std::mutex theLock;
    static std::multimap<std::string, std::unique_ptr<const ItemType>> theTypes;
    const std::lock_guard lock(theLock);
    const auto [first, last] = theTypes.equal_range(declaration.name);
    for (auto entry = first; entry != last; ++entry)
        if (kzIsDescribedBy(*entry->second, declaration, base)) return *entry->second;
    auto type = std::make_unique<const ItemType>(KZiITYPE_UNKNOWN, &base, declaration);
    return *theTypes.emplace(declaration.name, std::move(type))->second;
}

const char* kzInterned(std::string_view text) {
    static std::mutex theLock;
    static std::set<std::string, std::less<>> theTexts;
    const std::lock_guard lock(theLock);
    if (const auto entry = theTexts.find(text); entry != theTexts.end()) return entry->c_str();
    if (text.empty() || text.size() > longestText || theTexts.size() >= mostTexts) return nullptr;
    return theTexts.emplace(text).first->c_str();
}

std::shared_ptr<const COwnedHints> kzOwnHints(const std::vector<std::pair<std::int32_t, std::string>>& choices) {
    std::vector<KzTextValueHint> rows;
    rows.reserve(choices.size() + 1);
    for (const auto& [number, text] : choices) rows.push_back({number, text.c_str()});
    rows.push_back({0, nullptr});
    return std::make_shared<const COwnedHints>(rows.data());
}

}  // namespace kzhost
