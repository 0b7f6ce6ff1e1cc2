// The way from a native widget's address to a PySide2 object. Nothing here needs Qt or PySide2 to build or to load:
// when PySide2 can be imported its own libraries are used, and otherwise there are no widgets.
#pragma once

#include "module/python.h"

// Imports PySide2 unless that has been done. A failure is traced and left as the pending RuntimeError; start-up goes on
// without widgets.
void kzImportWidgets();

// kz.getQWidget(address): the PySide2 object of the widget; None for null, and when there is no PySide2.
PyObject* kzGetQWidgetFunction(PyObject* self, PyObject* args);
