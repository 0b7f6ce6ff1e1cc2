// The types of items, and their channels.
#pragma once

#include "host/state/value_types.h"

#include "kz/channel.h"
#include "kz/item.h"
#include "kz/scene.h"
#include "kz/transform.h"

#include <deque>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace kzhost {

// A table of hints that owns its texts.
class COwnedHints {
public:
    explicit COwnedHints(const KzTextValueHint* hints);
    COwnedHints(const COwnedHints&) = delete;
    COwnedHints& operator=(const COwnedHints&) = delete;
    const KzTextValueHint* rows() const { return m_rows.data(); }

private:
    std::deque<std::string> m_texts;
    std::vector<KzTextValueHint> m_rows;
};

// How the value of a channel is obtained.
enum class ChannelKind { stored, localMatrix, worldMatrix };

struct ChannelInfo {
    std::string name;
    const KzValueType* type = nullptr;  // null for matrices
    KzCell initial;
    ChannelKind kind = ChannelKind::stored;
    std::uint32_t flags = 0;
    std::optional<double> minimum, maximum;
    std::shared_ptr<const COwnedHints> hints;
    std::uint32_t vectorSize = 1;

    std::uint32_t storageType() const;  // an iCHANTYPE constant
};

struct ItemType {
    std::int32_t number = 0;
    const char* name = nullptr;
    std::int32_t base = KZiITYPE_NONE;
    std::vector<ChannelInfo> channels;  // starting with those of the base type
};

std::span<const ItemType> kzItemTypes();
// Null for an unknown type.
const ItemType* kzFindItemType(std::int32_t number);
const ItemType* kzFindItemType(std::string_view name);
// True if the type is `base` or is derived from it.
bool kzIsItemType(std::int32_t type, std::int32_t base);

}  // namespace kzhost
