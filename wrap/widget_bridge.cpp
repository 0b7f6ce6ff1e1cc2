// PySide2's widgets by their addresses.
//
// PySide2 carries a Qt and a binding library of its own, and a process must not hold two of either. So the few functions
// that are needed are looked up in what the import of PySide2 has loaded. They are named as the binary interfaces of
// Qt 5 and Shiboken2 fix them, which any release of these serves.
#include "wrap/widget_bridge.h"

#include "module/output.h"
#include "module/py_ref.h"
#include "wrap/loaded_library.h"
#include "wrap/memory_probe.h"

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
    const void* (*cast)(const void* meta, const void* object);  // QMetaObject::cast: null when it is of another class
    const void* widgetMeta;                                     // QWidget::staticMetaObject

    bool find(const CLoadedLibrary& library) noexcept {
        return library.find("_ZNK11QMetaObject9classNameEv", className) &&
               library.find("_ZNK11QMetaObject4castEPK7QObject", cast) &&
               library.find("_ZN7QWidget16staticMetaObjectE", widgetMeta);
    }
};

// How every QObject of Qt 5 begins. The private data, which also starts with a table, point back to their object.
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
PyTypeObject** theWidgetTypes = nullptr;  // PySide2's type table; non-null when PySide2 is there
PyTypeObject* theWidgetType = nullptr;    // the table keeps it alive as long as there is an interpreter

const char* fileOf(PyObject* module) {
    const char* file = module != nullptr ? PyModule_GetFilename(module) : nullptr;
    if (file == nullptr) PyErr_Clear();
    return file;
}

// Shiboken's extension module lies in a package of its name, or is the module of that name itself.
bool findShiboken() {
    for (const char* name : {"shiboken2.shiboken2", "shiboken2"}) {
        const CPyRefNull module(PyImport_ImportModule(name));
        if (module.get() == nullptr) PyErr_Clear();
        else if (theShiboken.find(CLoadedLibrary(fileOf(module)))) return true;
    }
    return false;
}

// The table is a bare array in which a type's place differs from release to release; the module's own name for the type
// leads to the same one in all of them.
PyTypeObject* widgetTypeOf(PyObject* module) {
    const CPyRefNull found(PyObject_GetAttrString(module, "QWidget"));
    if (found.get() == nullptr) PyErr_Clear();
    if (found.get() == nullptr || !PyType_Check(found.get())) return nullptr;
    auto* type = reinterpret_cast<PyTypeObject*>(found.get());
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

// The class of the widget at an address; null when no widget of PySide2's Qt is there.
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
    PyErr_Clear();  // no PySide2 is no fault of the caller's
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
