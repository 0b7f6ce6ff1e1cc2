// What files say about themselves.
#include "host/objects/file_metrics.h"

#include "host/core/object.h"
#include "host/core/reasons.h"
#include "host/core/values.h"
#include "host/state/text.h"

#include "kz/command.h"
#include "kz/dir_cache.h"
#include "kz/result.h"
#include "kz/value.h"

#include <fmt/format.h>

#include <algorithm>
#include <iterator>
#include <optional>
#include <utility>

namespace kzhost {

namespace {

struct MetricRow {
    const char* name;
    const char* type;
};
constexpr MetricRow metricRows[] = {{KZsMETRIC_NAME, KZsTYPE_STRING},       {KZsMETRIC_TYPE, KZsTYPE_STRING},
                                    {KZsMETRIC_SIZE, KZsTYPE_FLOAT},        {KZsMETRIC_MODIFIED, KZsTYPE_FLOAT},
                                    {KZsMETRIC_CREATED, KZsTYPE_FLOAT},     {KZsMETRIC_AUTHOR, KZsTYPE_STRING},
                                    {KZsMETRIC_COPYRIGHT, KZsTYPE_STRING},  {KZsMETRIC_CAPTION, KZsTYPE_STRING},
                                    {KZsMETRIC_RESOLUTION, KZsTYPE_STRING}, {KZsMETRIC_BITDEPTH, KZsTYPE_INTEGER},
                                    {KZsMETRIC_ITEMCOUNT, KZsTYPE_INTEGER}, {KZsMETRIC_POLYCOUNT, KZsTYPE_INTEGER},
                                    {KZsMETRIC_DURATION, KZsTYPE_TIME},     {KZsMETRIC_VERSION, KZsTYPE_STRING}};

// What a server fills in: an attribute for each metric.
class CMetricAttributes final : public CHosted<"file metrics", CMetricAttributes, CKzIfc_Attributes> {
public:
    std::uint32_t attr_Count() override { return static_cast<std::uint32_t>(std::size(metricRows)); }
    KzResult attr_Name(std::uint32_t index, const char** name) override {
        *name = row(index).name;
        return KZe_OK;
    }
    KzResult attr_Lookup(const char* name, std::uint32_t* index) override {
        const auto* place = std::ranges::find(metricRows, kzTextOf(name),
                                              [](const MetricRow& each) { return std::string_view(each.name); });
        if (place == std::end(metricRows)) return KZe_NOTFOUND;
        *index = static_cast<std::uint32_t>(place - metricRows);
        return KZe_OK;
    }
    std::uint32_t attr_Type(std::uint32_t index) override { return type(index).storage; }
    KzResult attr_TypeName(std::uint32_t index, const char** type) override {
        *type = row(index).type;
        return KZe_OK;
    }
    KzResult attr_Hints(std::uint32_t index, const KzTextValueHint** /*hints*/) override {
        row(index);
        return KZe_NOTFOUND;
    }
    KzResult attr_Value(std::uint32_t index, std::int32_t create, IKzUnknown** value) override {
        const auto cell = metrics.find(row(index).name);
        if (cell == metrics.end() && create == 0) return KZe_NOTFOUND;
        return CHostRef<CValue>::make(type(index), cell != metrics.end() ? cell->second : kzEmptyCell(type(index)))
            .give(value);
    }
    KzResult attr_GetInt(std::uint32_t index, std::int32_t* value) override {
        return give(kzIntegerOf(cell(index)), value);
    }
    KzResult attr_SetInt(std::uint32_t index, std::int32_t value) override { return attr_SetFlt(index, value); }
    KzResult attr_GetFlt(std::uint32_t index, double* value) override { return give(kzNumberOf(cell(index)), value); }
    KzResult attr_SetFlt(std::uint32_t index, double value) override {
        return set(index, kzCellOf(type(index), value), [&] { return fmt::format("{}", value); });
    }
    KzResult attr_GetString(std::uint32_t index, char* buffer, std::uint32_t length) override {
        return kzFillCell(type(index), cell(index), buffer, length);
    }
    KzResult attr_SetString(std::uint32_t index, const char* value) override {
        return set(index, kzParseCell(type(index), kzTextOf(value)), [&] { return kzString(value); });
    }

    FileMetrics metrics;

private:
    static const MetricRow& row(std::uint32_t index) {
        if (index >= std::size(metricRows)) throw KZe_OUTOFBOUNDS;
        return metricRows[index];
    }
    static const KzValueType& type(std::uint32_t index) { return *kzFindType(row(index).type); }
    const KzCell& cell(std::uint32_t index) const {
        const auto found = metrics.find(row(index).name);
        if (found == metrics.end()) throw KZe_NOTFOUND;
        return found->second;
    }
    template <class Number> static KzResult give(const std::optional<Number>& number, Number* out) {
        if (!number) return KZe_INVALIDARG;
        *out = *number;
        return KZe_OK;
    }
    template <class Text> KzResult set(std::uint32_t index, std::optional<KzCell> value, const Text& text) {
        if (!value)
            return kzBecause(KZe_CMD_ERROR_SETTING_DATATYPE, "DirCacheFileMetrics", [&] {
                return fmt::format("the metric \"{}\": {}", row(index).name, kzIsNot(text(), type(index).expects));
            });
        metrics[row(index).name] = std::move(*value);
        return KZe_OK;
    }
};

}  // namespace

const KzValueType& kzMetricType(std::string_view name) {
    for (const MetricRow& row : metricRows)
        if (name == row.name) return *kzFindType(row.type);
    throw kzBecause(KZe_NOTFOUND, "DirCacheEntry.Metric", [&] {
        return kzThereIsNo("metric", name, metricRows, [](const MetricRow& row) { return row.name; });
    });
}

FileMetrics kzFilledMetrics(const std::function<bool(IKzUnknown* attributes)>& fill) {
    const auto attributes = CHostRef<CMetricAttributes>::make();
    return fill(attributes.raw()) ? attributes->metrics : FileMetrics();
}

}  // namespace kzhost
