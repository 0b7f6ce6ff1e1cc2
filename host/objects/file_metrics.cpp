// What files say about themselves.
#include "host/objects/file_metrics.h"

#include "host/core/object.h"
#include "host/core/reasons.h"
#include "host/objects/named_values.h"
#include "host/state/function_ref.h"
#include "host/state/text.h"

#include "kz/result.h"

namespace kzhost {

const KzValueType& kzMetricType(std::string_view name) {
    for (const NamedValueRow& row : kzMetricRows)
        if (name == row.name) return *kzFindType(row.type);
    throw kzBecause(KZe_NOTFOUND, "DirCacheEntry.Metric", [&] {
        return kzThereIsNo("metric", name, kzMetricRows, [](const NamedValueRow& row) { return row.name; });
    });
}

FileMetrics kzFilledMetrics(CFunctionRef<bool(IKzUnknown* attributes)> fill) {
    const auto attributes = CHostRef<CNamedValues>::make(kzMetricRows);
    return fill(attributes.raw()) ? attributes->values : FileMetrics();
}

}  // namespace kzhost
