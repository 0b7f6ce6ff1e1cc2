// The data that instances of packages keep with their items.
#include "host/core/reasons.h"
#include "host/objects/block_stream.h"
#include "host/objects/item_packages.h"
#include "host/state/text.h"

#include "kz/result.h"
#include "kz/scene.h"

#include <fmt/format.h>

#include <utility>

namespace kzhost {

using Part = ServedItem::Part;

void kzExplainPackage(KzResult code, const Package& package, const ServedItem& served, const char* operation) {
    kzBecause(code, "Package", [&] {
        const CReading reading(served.object->workspace());
        return fmt::format("{} of the package \"{}\" ended with {} for the item \"{}\"", operation, package.name,
                           kzCodeName(code), served.item->uniqueName);
    });
}

// The lock must be held, and the item have the packages.
void CItemPackages::findData(const ServedItem& served) {
    for (const auto& part : served.parts) {
        part->data = served.item->modules.data[part->package->name];
        if (part->data == nullptr)
            part->data = served.item->modules.data[part->package->name] = std::make_shared<ModuleState::Data>();
    }
}

void CItemPackages::readData(ServedItem& served, const RenamedItems& renamed) const {
    for (const auto& each : served.parts) {
        Part& part = *each;
        StreamContent content;
        {
            const CReading reading(served.object->workspace());
            if (!part.io || part.data->bytes.empty()) continue;
            content = {part.data->version, part.data->bytes};
        }
        const auto find = [object = served.object, renamed](const char* ident) -> IKzUnknown* {
            const auto item = object->read();
            const auto entry = renamed.find(ident);
            IKzUnknown* found = nullptr;
            kzGiveItem(item->document.byIdent(entry != renamed.end() ? entry->second : ident), &found);
            return found;
        };
        const auto stream = CHostRef<CBlockRead>::make(std::move(content), find);
        std::uint32_t ident = 0, bytes = 0;
        KzResult code = stream->blockread_Open(&ident, &bytes);
        if (kzSucceeded(code)) code = part.io.Read(stream.raw());
        part.keepsOldData = kzFailed(code);
        if (part.keepsOldData) kzExplainPackage(code, *part.package, served, "Read");
    }
}

// Whoever fails to write keeps what it had written before.
void CItemPackages::collectData(const ServedItem& served) {
    for (const auto& each : served.parts) {
        const Part& part = *each;
        if (!part.io || part.keepsOldData) continue;
        const auto stream = CHostRef<CBlockWrite>::make(part.package->version);
        stream->blockwrite_Open(KZi_PTAG_ITEM_DATA);
        const double empty = stream->blockwrite_Position();
        const KzResult code = part.io.Write(stream.raw());
        const bool isEmpty = stream->blockwrite_Position() == empty;
        std::string bytes = stream->finish();
        if (kzFailed(code)) {
            if (code != KZe_NOTIMPL) kzExplainPackage(code, *part.package, served, "Write");
            continue;
        }
        const CReading reading(served.object->workspace());
        *part.data = {part.package->version, isEmpty ? std::string() : std::move(bytes)};
    }
}

void CItemPackages::collectData(const CDocument& document) const {
    for (const auto& each : of(document)) collectData(*each);
}

void CItemPackages::collectData(const CItem& top) const {
    for (const auto& each : below(top)) collectData(*each);
}

}  // namespace kzhost
