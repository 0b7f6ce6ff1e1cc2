// Converts the address of a native widget to a PySide2 object. Neither Qt nor PySide2 is needed to build or to load
// this: if PySide2 can be imported, its own libraries are used, and otherwise there are no widgets.
#pragma once

#include "module/python.h"

// Imports PySide2, once. A failure is traced and leaves a RuntimeError pending; start-up continues without widgets.
void kzImportWidgets();

// kz.getQWidget(address): the PySide2 object of the widget; None for a null address and without PySide2.
PyObject* kzGetQWidgetFunction(PyObject* self, PyObject* args);
