// One user value as an object, and a reference through which others read and change it.
#pragma once

#include "host/state/function_ref.h"

#include "kz/base/unknown.h"

#include <memory>
#include <string>

namespace kzhost {

class CNotifierTable;
class CUserValues;
class CValueTypeRegistry;
class CWorkspace;

struct UserValueParts {
    std::shared_ptr<CUserValues> values;
    std::shared_ptr<CValueTypeRegistry> types;
    std::shared_ptr<CWorkspace> workspace;
    std::shared_ptr<CNotifierTable> notifiers;
};

// New objects for the value of that name; they throw NOTFOUND if there is none.
KzResult kzGiveUserValue(const UserValueParts& parts, const std::string& name, IKzUnknown** object);
KzResult kzGiveValueReference(const UserValueParts& parts, const std::string& name, IKzUnknown** object);

// Runs the action of the value after a change, unless the change is made by this action itself.
void kzRunValueAction(const CUserValues& values, const std::string& name,
                      CFunctionRef<void(const std::string& command)> run);

}  // namespace kzhost
