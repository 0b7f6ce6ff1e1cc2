// What one of the watches does, whoever else watches. All functions may throw; what they throw is dropped.
#pragma once

#include "module/crossing_watch.h"

class CCallWatcher {
public:
    virtual ~CCallWatcher() = default;
    virtual bool begin(const KzCrossing& /*crossing*/, PyObject*& /*answer*/) { return false; }
    virtual void end(const KzCrossing& /*crossing*/, PyObject* /*result*/) {}
    virtual void made(PyObject* /*object*/) {}
    virtual void gone(PyObject* /*object*/) {}
    // The interpreter has ended.
    virtual void finish() {}
};
