// What is known about one channel: its type and unit, its range, its default, and the words of an enumeration.
#pragma once

#include "host/state/value_types.h"

#include "kz/channel.h"
#include "kz/value.h"

#include <deque>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace kzhost {

// A table of hints that owns its texts.
class COwnedHints {
public:
    explicit COwnedHints(const KzTextValueHint* hints);
    // Words with blanks between them, which count from 0. A word such as "RECT=rectangle" stands for a code of four
    // characters instead.
    explicit COwnedHints(std::string_view words);
    COwnedHints(const COwnedHints&) = delete;
    COwnedHints& operator=(const COwnedHints&) = delete;
    const KzTextValueHint* rows() const { return m_rows.data(); }

private:
    std::deque<std::string> m_texts;
    std::vector<KzTextValueHint> m_rows;
};

// How the value of a channel is obtained.
enum class ChannelKind {
    stored,         // a value of the channel's type
    itemReference,  // stored, too: the identifier of an item, which is empty for none
    gradient,       // stored as a curve over an input
    matrix,         // stored; the identity by default
    object,         // computed; of the type that evalType names
    localMatrix,    // this one and the rest are computed from a locator's place
    worldMatrix,
    parentMatrix,
    inverseMatrix
};

struct ChannelInfo {
    std::string name;
    const KzValueType* type = nullptr;  // of the stored cell; null for a channel without one, such as a matrix
    KzCell initial;
    ChannelKind kind = ChannelKind::stored;
    std::uint32_t flags = 0;
    std::optional<double> minimum, maximum;  // both ends belong to the range; values outside are refused
    std::shared_ptr<const COwnedHints> hints;
    std::uint32_t vectorSize = 1;
    const char* unit = nullptr;        // of a plain number, such as "px"; the other types have a unit of their own
    const char* objectType = nullptr;  // of an object
    std::string package = {};          // that has brought it to the item; empty for one of a type or a user

    std::uint32_t storageType() const;  // an iCHANTYPE constant
    const char* evalType() const;       // an sTYPE or sCHANEVAL name
    // The common part of the names of a vector's components; the name itself for a scalar.
    std::string_view vectorName() const;
    // Whether the number lies within the range, and is one of the words if there are any.
    bool takes(double number) const;
};

}  // namespace kzhost
