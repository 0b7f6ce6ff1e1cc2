// The factory of host objects for one Python class. Each host object has one adapter for every interface that the class
// implements, and all of them forward to the same instance of the class.
#pragma once

#include "module/py_ref.h"

#include "kz/base/polymorph.h"

#include <string>
#include <vector>

class CKzPythonPolymorph final : public CKzGenericPolymorph {
public:
    explicit CKzPythonPolymorph(PyObject* pythonClass);

    // Tests the sub-servers first, then the class's own interfaces.
    bool testInterface(const KzGuid& iid) const override;
    IKzUnknown* spawnSubObject(IKzUnknown* outer, const KzGuid& iid) override;
    // The object is the Python instance; the host object owns one reference to it.
    void* createObject() override;
    void freeObject(void* object) noexcept override;
    void inherit(void* object, void* other) override;

    // A new instance of the class; null, with an exception pending, if its constructor raised. Needs the interpreter lock.
    PyObject* makeInstance() const;
    // After makeInstance has failed: writes the reason if the exception stands for a code that is never reported.
    void explainSilentFailure() const noexcept;
    // Makes a host object for the Python object, to which it takes a reference, and returns its first interface. May throw
    // a KzResult. Needs the interpreter lock.
    IKzUnknown* spawnFor(PyObject* instance);

    void setMeta(PyObject* meta) { m_meta = meta; }
    void addSubServer(CKzPythonPolymorph* polymorph) { m_subServers.push_back(polymorph); }
    // Releases the class and the meta object, at the end of the interpreter.
    void releasePython();

private:
    using Path = std::vector<const CKzPythonPolymorph*>;
    bool answers(const KzGuid& iid, Path& visited) const;
    CKzPythonPolymorph* subServerFor(const KzGuid& iid) const;
    IKzUnknown* makeSubObject(CKzPythonPolymorph& server);

    CPyRef m_class;
    CPyRef m_meta;                                  // may be None
    std::vector<CKzPythonPolymorph*> m_subServers;  // cached with their own classes; not owned
    std::string m_className;
};

// The Python instance behind a host object, as a borrowed reference; null if no Python class implements the object.
PyObject* kzPythonObjectOf(IKzUnknown* object) noexcept;
