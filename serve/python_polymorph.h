// The factory of host objects for one Python class: each host object carries one adapter for every interface that the
// class implements, all around one instance of the class.
#pragma once

#include "module/py_ref.h"

#include "kz/base/polymorph.h"

#include <string>
#include <vector>

class CKzPythonPolymorph final : public CKzGenericPolymorph {
public:
    explicit CKzPythonPolymorph(PyObject* pythonClass);

    // The interface test asks the sub-servers first, then the class's own interfaces.
    bool testInterface(const KzGuid& iid) const override;
    IKzUnknown* spawnSubObject(IKzUnknown* outer, const KzGuid& iid) override;
    // The object data is the Python instance, with one reference for the host object.
    void* createObject() override;
    void freeObject(void* object) noexcept override;
    void inherit(void* object, void* other) override;

    // A new instance of the class. Null with an exception set when its constructor raised. Needs the interpreter lock.
    PyObject* makeInstance() const;
    // makeInstance failed: says why where the exception carries a code that is never reported.
    void explainSilentFailure() const noexcept;
    // A host object around the Python object, which it takes a reference to; its first interface. May throw a KzResult.
    // Needs the interpreter lock.
    IKzUnknown* spawnFor(PyObject* instance);

    void setMeta(PyObject* meta) { m_meta = meta; }
    void addSubServer(CKzPythonPolymorph* polymorph) { m_subServers.push_back(polymorph); }
    // Lets go of the class and the meta object, at the end of the interpreter.
    void releasePython();

private:
    using Path = std::vector<const CKzPythonPolymorph*>;
    bool answers(const KzGuid& iid, Path& visited) const;
    CKzPythonPolymorph* subServerFor(const KzGuid& iid) const;
    IKzUnknown* makeSubObject(CKzPythonPolymorph& server);

    CPyRef m_class;
    CPyRef m_meta;                                  // None when there is none
    std::vector<CKzPythonPolymorph*> m_subServers;  // cached with their own classes; not owned
    std::string m_className;
};

// The Python instance behind a host object that a Python class implements; null for any other object. Borrowed.
PyObject* kzPythonObjectOf(IKzUnknown* object) noexcept;
