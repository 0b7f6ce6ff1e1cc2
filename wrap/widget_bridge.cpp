// Converts addresses of widgets to PySide2 objects.
//
// PySide2 brings its own Qt and its own binding library, and a process must not load either of them twice. So the few
// functions that are needed are looked up in the libraries that the import of PySide2 has loaded. Their mangled names
// are part of the ABI of Qt 5 and of Shiboken2, and the same in all releases.
#include "wrap/widget_bridge.h"

#include "module/memory_probe.h"
#include "module/output.h"
#include "module/py_ref.h"
#include "wrap/loaded_library.h"

#include "kz/result.h"

#include <cstdint>
#include <cstring>

namespace {

constexpr const char* coreModule = "PySide2.QtCore";
constexpr const char* widgetsModule = "PySide2.QtWidgets";
constexpr const char* widgetTypeName = "PySide2.QtWidgets.QWidget";

struct ShibokenFunctions {
    PyObject* (*import)(const char* module);       // Shiboken::Module::import: a new reference
    PyTypeObject** (*getTypes)(PyObject* module);  // Shiboken::Module::getTypes
    PyObject* (*newObject)(PyTypeObject* type, void* address, bool pythonOwns, bool exactType, const char* typeHint);

    bool find(const CLoadedLibrary& library) noexcept {
        return library.find("_ZN8Shiboken6Module6importEPKc", import) &&
               library.find("_ZN8Shiboken6Module8getTypesEP7_object", getTypes) &&
               library.find("_ZN8Shiboken6Object9newObjectEP13SbkObjectTypePvbbPKc", newObject);
    }
};

struct QtFunctions {
    const char* (*className)(const void* meta);                 // QMetaObject::className
    const void* (*cast)(const void* meta, const void* object);  // QMetaObject::cast: null if it is of another class
    const void* widgetMeta;                                     // QWidget::staticMetaObject

    bool find(const CLoadedLibrary& library) noexcept {
        return library.find("_ZNK11QMetaObject9classNameEv", className) &&
               library.find("_ZNK11QMetaObject4castEPK7QObject", cast) &&
               library.find("_ZN7QWidget16staticMetaObjectE", widgetMeta);
    }
};

// The first members of every QObject of Qt 5. Its private data, which also start with a dispatch table, point back to
// it.
struct QObjectHead {
    struct Data {
        const void* operations;
        const void* object;
    };
    const void* (*const* operations)(const void* object);  // the first of them is metaObject
    const Data* data;
};

ShibokenFunctions theShiboken;
QtFunctions theQt;
PyTypeObject** theWidgetTypes = nullptr;  // PySide2's type table; null without PySide2
PyTypeObject* theWidgetType = nullptr;    // borrowed: the table keeps it alive until the interpreter ends

const char* fileOf(PyObject* module) {
    const char* file = module != nullptr ? PyModule_GetFilename(module) : nullptr;
    if (file == nullptr) PyErr_Clear();
    return file;
}

// Shiboken's extension module is either inside a package of its name or the module of that name itself.
bool findShiboken() {
    for (const char* name : {"shiboken2.shiboken2", "shiboken2"}) {
        const CPyRefNull module(PyImport_ImportModule(name));
        if (module.get() == nullptr) PyErr_Clear();
        else if (theShiboken.find(CLoadedLibrary(fileOf(module)))) return true;
    }
    return false;
}

// The table is a bare array, and a type's index in it differs between releases. So the type is found by its name in the
// module.
PyTypeObject* widgetTypeOf(PyObject* module) {
    const CPyRefNull attribute(PyObject_GetAttrString(module, "QWidget"));
    if (attribute.get() == nullptr) PyErr_Clear();
    if (attribute.get() == nullptr || !PyType_Check(attribute.get())) return nullptr;
    auto* type = reinterpret_cast<PyTypeObject*>(attribute.get());
    const bool isShibokens = std::strcmp(Py_TYPE(type)->tp_name, "Shiboken.ObjectType") == 0;
    return isShibokens && std::strcmp(type->tp_name, widgetTypeName) == 0 ? type : nullptr;
}

bool importCore() {
    if (!findShiboken()) return false;
    const CPyRefNull core(theShiboken.import(coreModule));
    return core.get() != nullptr;
}

bool importWidgets() {
    const CPyRefNull widgets(theShiboken.import(widgetsModule));
    if (widgets.get() == nullptr || !theQt.find(CLoadedLibrary(fileOf(widgets)))) return false;
    theWidgetTypes = theShiboken.getTypes(widgets);
    if (theWidgetTypes != nullptr) theWidgetType = widgetTypeOf(widgets);
    return theWidgetTypes != nullptr;
}

void importFailed(const char* text) {
    kzTrace("pyside2_import", text, KZe_INFO);
    PyErr_SetString(PyExc_RuntimeError, text);
}

// The name of the class of the widget at an address; null if no widget of PySide2's Qt is there.
const char* widgetClass(void* address) {
    QObjectHead head{};
    QObjectHead::Data data{};
    CMemoryProbe memory;
    if (reinterpret_cast<std::uintptr_t>(address) % alignof(QObjectHead) != 0) return nullptr;
    if (!memory.read(address, head) || !memory.read(head.data, data) || data.object != address) return nullptr;
    if (theQt.cast(theQt.widgetMeta, address) == nullptr) return nullptr;
    return theQt.className(head.operations[0](address));
}

// The first argument as an address; false with an exception set. Any further arguments are ignored.
bool readAddress(PyObject* args, void*& address) {
    PyObject* first = PyTuple_GET_SIZE(args) > 0 ? PyTuple_GET_ITEM(args, 0) : nullptr;
    if (first == nullptr || !(PyInt_Check(first) || PyLong_Check(first))) {
        PyErr_Format(PyExc_TypeError, "getQWidget() needs the address of a widget as an integer, not %.80s",
                     first != nullptr ? Py_TYPE(first)->tp_name : "nothing");
        return false;
    }
    address = PyLong_AsVoidPtr(first);
    return address != nullptr || PyErr_Occurred() == nullptr;
}

bool haveWidgets() {
    if (theWidgetTypes == nullptr) kzImportWidgets();
    PyErr_Clear();  // a missing PySide2 is not the caller's error
    return theWidgetType != nullptr;
}

}  // namespace

void kzImportWidgets() {
    if (theWidgetTypes != nullptr) return;
    if (!importCore()) importFailed("could not import PySide2.QtCore");
    else if (!importWidgets()) importFailed("could not import PySide2.QtWidgets");
}

PyObject* kzGetQWidgetFunction(PyObject* /*self*/, PyObject* args) {
    void* address = nullptr;
    if (!readAddress(args, address)) return nullptr;
    if (address == nullptr || !haveWidgets()) Py_RETURN_NONE;
    const char* name = widgetClass(address);
    if (name == nullptr) return PyErr_Format(PyExc_ValueError, "getQWidget() found no widget at %p", address);
    return theShiboken.newObject(theWidgetType, address, false, false, name);
}
