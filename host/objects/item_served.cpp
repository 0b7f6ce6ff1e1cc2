// What the packages of modules have a say in: copies of an item, and the objects behind it.
#include "host/document/duplicate.h"
#include "host/objects/item_packages.h"
#include "host/state/text.h"

#include "kz/result.h"

namespace kzhost {

KzResult CItem::item_Duplicate(std::int32_t deep, IKzUnknown** item) {
    if (m_type.number == KZiITYPE_ROOT) return KZe_INVALIDARG;
    if (const CItemPackages* packages = kzItemPackages(*m_workspace)) packages->collectData(*this);
    return kzAddItem(
        *m_workspace, [&](CEdit& edit) -> Item& { return kzDuplicate(*read(), deep != 0, edit); }, item);
}

KzResult CItem::item_Object(const char* type, IKzUnknown** object) {
    const CItemPackages* packages = kzItemPackages(*m_workspace);
    return packages != nullptr ? packages->instance(*this, kzTextOf(type), object) : KZe_NOTFOUND;
}

}  // namespace kzhost
