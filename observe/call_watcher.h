// What one of the watches does, whoever else watches. All functions may throw; what they throw is dropped.
#pragma once

#include "module/crossing_watch.h"

class CCallWatcher {
public:
    virtual ~CCallWatcher() = default;
    // Whether the watch only looks: it runs no Python code and answers no call. Then it is told of what goes on beside the
    // calls, too (KzCrossing::isAside), and is called under a lock, so that it can finish while threads are still inside.
    virtual bool onlyLooks() const { return false; }
    virtual bool begin(const KzCrossing& /*crossing*/, PyObject*& /*answer*/) { return false; }
    virtual void end(const KzCrossing& /*crossing*/, PyObject* /*result*/) {}
    virtual void made(PyObject* /*object*/, bool /*isServed*/) {}
    virtual void gone(PyObject* /*object*/) {}
    virtual void kept(PyObject* /*object*/) {}
    virtual bool keepsItself(PyObject* /*instance*/) { return false; }
    virtual void remains(PyObject* /*instance*/, std::uint32_t /*references*/) {}
    // The interpreter is going to end, and is still intact. The caller has its lock.
    virtual void prepareEnd() {}
    // The interpreter has ended, or cannot end because threads are still inside. Nobody has its lock then.
    virtual void finish() {}
};
