// A tag description over a fixed table.
#pragma once

#include "kz/module.h"
#include "kz/result.h"

#include <iterator>

template <const auto& table> class CStaticTags : public CKzImpl_TagDescription {
public:
    std::uint32_t tag_Count() override { return std::size(table); }
    KzResult tag_Describe(std::uint32_t index, KzTagRecord* record) override {
        if (index >= std::size(table)) return KZe_OUTOFBOUNDS;
        if (record == nullptr) return KZe_INVALIDARG;
        *record = table[index];
        return KZe_OK;
    }
};
