// The module's one exported function.
#include "plugin/parts.h"

#include "module/this_module.h"
#include "script/line_interpreter.h"
#include "script/script_interpreter.h"
#include "serve/module_server.h"

namespace {

// The order of the server table.
constexpr CKzThisModule::Registration registrations[] = {
    Python_Script::registerServer,
    Python_LineInterp::registerServer,
    Python_Module::registerDictionary,
    Python_Module::registerServer,
};

}  // namespace

// The module object's first interface with a reference; null when initialisation failed.
extern "C" __attribute__((visibility("default"))) IKzUnknown* _IKzModule_Create() {
    kzComposeParts();
    return CKzThisModule::instance().create(registrations);
}
