// Attributes with fixed names and types, which are handed out to be filled in: what a file says about itself, and what the user
// keeps with it.
#pragma once

#include "host/core/object.h"
#include "host/state/value_types.h"

#include "kz/command.h"
#include "kz/dir_cache.h"
#include "kz/value.h"

#include <functional>
#include <map>
#include <optional>
#include <span>
#include <string>
#include <vector>

namespace kzhost {

struct NamedValueRow {
    const char* name;
    const char* type;
};
inline constexpr NamedValueRow kzMetricRows[] = {
    {KZsMETRIC_NAME, KZsTYPE_STRING},       {KZsMETRIC_TYPE, KZsTYPE_STRING},
    {KZsMETRIC_SIZE, KZsTYPE_FLOAT},        {KZsMETRIC_MODIFIED, KZsTYPE_FLOAT},
    {KZsMETRIC_CREATED, KZsTYPE_FLOAT},     {KZsMETRIC_AUTHOR, KZsTYPE_STRING},
    {KZsMETRIC_COPYRIGHT, KZsTYPE_STRING},  {KZsMETRIC_CAPTION, KZsTYPE_STRING},
    {KZsMETRIC_RESOLUTION, KZsTYPE_STRING}, {KZsMETRIC_BITDEPTH, KZsTYPE_INTEGER},
    {KZsMETRIC_ITEMCOUNT, KZsTYPE_INTEGER}, {KZsMETRIC_POLYCOUNT, KZsTYPE_INTEGER},
    {KZsMETRIC_DURATION, KZsTYPE_TIME},     {KZsMETRIC_VERSION, KZsTYPE_STRING}};
inline constexpr NamedValueRow kzMarkRows[] = {{KZsMARK_STARS, KZsTYPE_INTEGER},
                                               {KZsMARK_COLOR, KZsTYPE_STRING},
                                               {KZsMARK_FAVORITE, KZsTYPE_INTEGER},
                                               {KZsMARK_NOTE, KZsTYPE_STRING},
                                               {KZsMARK_KEYWORDS, KZsTYPE_STRING}};

class CNamedValues final : public CHosted<"named values", CNamedValues, CKzIfc_Attributes> {
public:
    explicit CNamedValues(std::span<const NamedValueRow> rows) : m_rows(rows) {}

    std::uint32_t attr_Count() override { return static_cast<std::uint32_t>(m_rows.size()); }
    KzResult attr_Name(std::uint32_t index, const char** name) override;
    KzResult attr_Lookup(const char* name, std::uint32_t* index) override;
    std::uint32_t attr_Type(std::uint32_t index) override { return type(index).storage; }
    KzResult attr_TypeName(std::uint32_t index, const char** type) override;
    KzResult attr_Hints(std::uint32_t index, const KzTextValueHint** hints) override;
    KzResult attr_Value(std::uint32_t index, std::int32_t create, IKzUnknown** value) override;
    KzResult attr_GetInt(std::uint32_t index, std::int32_t* value) override;
    KzResult attr_SetInt(std::uint32_t index, std::int32_t value) override { return attr_SetFlt(index, value); }
    KzResult attr_GetFlt(std::uint32_t index, double* value) override;
    KzResult attr_SetFlt(std::uint32_t index, double value) override;
    KzResult attr_GetString(std::uint32_t index, char* buffer, std::uint32_t length) override;
    KzResult attr_SetString(std::uint32_t index, const char* value) override;

    // "name=value" for each that was filled in.
    std::vector<std::string> texts() const;

    std::map<std::string, KzCell, std::less<>> values;

private:
    const NamedValueRow& row(std::uint32_t index) const;
    const KzValueType& type(std::uint32_t index) const { return *kzFindType(row(index).type); }
    const KzCell& cell(std::uint32_t index) const;
    KzResult set(std::uint32_t index, std::optional<KzCell> value, const std::string& text);

    std::span<const NamedValueRow> m_rows;
};

}  // namespace kzhost
