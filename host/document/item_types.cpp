// The types of items.
#include "host/document/item_types.h"

#include "kz/mesh.h"

#include <algorithm>
#include <utility>

namespace kzhost {

namespace {

constexpr KzTextValueHint visibility[] = {{KZiLOCATOR_VIS_DEFAULT, "default"},
                                          {KZiLOCATOR_VIS_ON, "on"},
                                          {KZiLOCATOR_VIS_OFF, "off"},
                                          {KZiLOCATOR_VIS_NEVER, "never"},
                                          {0, nullptr}};
constexpr KzTextValueHint rotationOrders[] = {{KZiROTORDER_XYZ, "xyz"},
                                              {KZiROTORDER_XZY, "xzy"},
                                              {KZiROTORDER_YXZ, "yxz"},
                                              {KZiROTORDER_YZX, "yzx"},
                                              {KZiROTORDER_ZXY, "zxy"},
                                              {KZiROTORDER_ZYX, "zyx"},
                                              {0, nullptr}};

struct ChannelRow {
    const char* name;
    const char* type;
    double initial = 0;
    const KzTextValueHint* hints = nullptr;
    std::uint32_t vectorSize = 1;
};

constexpr ChannelRow locatorChannels[] = {
    {KZsICHAN_XFRMPOSITION_POS_X, "distance", 0, nullptr, 3},
    {KZsICHAN_XFRMPOSITION_POS_Y, "distance", 0, nullptr, 3},
    {KZsICHAN_XFRMPOSITION_POS_Z, "distance", 0, nullptr, 3},
    {KZsICHAN_XFRMROTATION_ROT_X, "angle", 0, nullptr, 3},
    {KZsICHAN_XFRMROTATION_ROT_Y, "angle", 0, nullptr, 3},
    {KZsICHAN_XFRMROTATION_ROT_Z, "angle", 0, nullptr, 3},
    {KZsICHAN_XFRMROTATION_ORDER, "integer", KZiROTORDER_ZXY, rotationOrders},
    {KZsICHAN_XFRMSCALE_SCL_X, "float", 1, nullptr, 3},
    {KZsICHAN_XFRMSCALE_SCL_Y, "float", 1, nullptr, 3},
    {KZsICHAN_XFRMSCALE_SCL_Z, "float", 1, nullptr, 3},
    {KZsICHAN_LOCATOR_SIZE, "distance", 1},
    {KZsICHAN_LOCATOR_VISIBLE, "integer", KZiLOCATOR_VIS_DEFAULT, visibility},
    {KZsICHAN_LOCATOR_LOCK, "boolean"},
    {KZsICHAN_LOCATOR_DISSOLVE, "percent"},
};
constexpr ChannelRow meshChannels[] = {
    {KZsICHAN_MESH_SMOOTHING, "boolean", 1},
    {KZsICHAN_MESH_SMOOTHANGLE, "angle", 0.7},
    {KZsICHAN_MESH_LEVELVIEW, "integer", 2},
    {KZsICHAN_MESH_LEVELRENDER, "integer", 3},
};
constexpr ChannelRow sceneChannels[] = {
    {KZsICHAN_SCENE_TITLE, "string"}, {KZsICHAN_SCENE_AUTHOR, "string"}, {KZsICHAN_SCENE_SEED, "integer"}};
constexpr ChannelRow commentChannels[] = {{KZsICHAN_COMMENT_TEXT, "string"}, {KZsICHAN_COMMENT_WIDTH, "distance", 1}};

ChannelInfo described(const ChannelRow& row) {
    ChannelInfo channel;
    channel.name = row.name;
    channel.type = kzFindType(row.type);
    channel.initial = kzCellOf(*channel.type, row.initial).value_or(kzEmptyCell(*channel.type));
    channel.vectorSize = row.vectorSize;
    if (row.vectorSize > 1) channel.flags |= KZfCHAN_VECTOR;
    if (row.hints != nullptr) channel.hints = std::make_shared<COwnedHints>(row.hints);
    return channel;
}

ChannelInfo matrixChannel(const char* name, ChannelKind kind) {
    ChannelInfo channel;
    channel.name = name;
    channel.kind = kind;
    channel.flags = KZfCHAN_READONLY | KZfCHAN_NOANIM;
    return channel;
}

class CTypeList {
public:
    CTypeList() {
        add(KZsITYPE_ANY, KZiITYPE_NONE);                  // iITYPE_ANY
        add(KZsITYPE_SCENE, KZiITYPE_ANY, sceneChannels);  // iITYPE_ROOT
        const std::int32_t locator = add(KZsITYPE_LOCATORSUPER, KZiITYPE_ANY, locatorChannels);
        m_types.back().channels.push_back(matrixChannel(KZsICHAN_LOCATOR_LOCALMATRIX, ChannelKind::localMatrix));
        m_types.back().channels.push_back(matrixChannel(KZsICHAN_LOCATOR_WORLDMATRIX, ChannelKind::worldMatrix));
        add(KZsITYPE_LOCATOR, locator);
        add(KZsITYPE_GROUPLOCATOR, locator);
        add(KZsITYPE_MESH, locator, meshChannels);
        add(KZsITYPE_FOLDER, KZiITYPE_ANY);
        add(KZsITYPE_COMMENT, KZiITYPE_ANY, commentChannels);
    }
    std::span<const ItemType> types() const { return m_types; }

private:
    // Numbers count from 1, so that the first two types get the numbers that are fixed.
    std::int32_t add(const char* name, std::int32_t base, std::span<const ChannelRow> channels = {}) {
        ItemType type;
        type.number = static_cast<std::int32_t>(m_types.size()) + 1;
        type.name = name;
        type.base = base;
        if (base != KZiITYPE_NONE) type.channels = m_types[static_cast<std::size_t>(base) - 1].channels;
        for (const ChannelRow& row : channels) type.channels.push_back(described(row));
        m_types.push_back(std::move(type));
        return m_types.back().number;
    }

    std::vector<ItemType> m_types;
};

}  // namespace

COwnedHints::COwnedHints(const KzTextValueHint* hints) {
    for (; hints != nullptr && hints->text != nullptr; ++hints)
        m_rows.push_back({hints->value, m_texts.emplace_back(hints->text).c_str()});
    m_rows.push_back({0, nullptr});
}

std::uint32_t ChannelInfo::storageType() const {
    if (type == nullptr) return KZiCHANTYPE_MATRIX;
    if (std::holds_alternative<std::int32_t>(initial)) return KZiCHANTYPE_INTEGER;
    if (std::holds_alternative<double>(initial)) return KZiCHANTYPE_FLOAT;
    return std::holds_alternative<std::string>(initial) ? KZiCHANTYPE_STRING : KZiCHANTYPE_STORAGE;
}

std::span<const ItemType> kzItemTypes() {
    static const CTypeList theTypes;
    return theTypes.types();
}

const ItemType* kzFindItemType(std::int32_t number) {
    const auto types = kzItemTypes();
    return number >= 1 && static_cast<std::size_t>(number) <= types.size()
               ? &types[static_cast<std::size_t>(number) - 1]
               : nullptr;
}

const ItemType* kzFindItemType(std::string_view name) {
    const auto types = kzItemTypes();
    const auto match =
        std::find_if(types.begin(), types.end(), [&](const ItemType& type) { return name == type.name; });
    return match != types.end() ? &*match : nullptr;
}

bool kzIsItemType(std::int32_t type, std::int32_t base) {
    for (const ItemType* row = kzFindItemType(type); row != nullptr; row = kzFindItemType(row->base))
        if (row->number == base) return true;
    return false;
}

}  // namespace kzhost
