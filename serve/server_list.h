// The blessed servers, in the order of their blessing.
#pragma once

#include "serve/python_polymorph.h"

#include <optional>

struct CServerData {
    std::string name;
    const KzGuid* type;  // the first interface's identifier, as the host keeps it
    CKzPythonPolymorph* polymorph;
    CPyRef tags;  // a dictionary or None
};

// Servers are added with the interpreter lock held; what does not concern Python may be read without. An entry's name and
// type stay where they are.
class CServerList {
public:
    static CServerList& instance();

    // Throws FAILED when the name is taken for that type.
    void add(const char* name, const KzGuid* type, CKzPythonPolymorph& polymorph, PyObject* tags);
    std::uint32_t count() const;
    // The entry at an index that is below the count.
    const CServerData& at(std::uint32_t index) const;
    std::optional<std::uint32_t> find(const char* name, const KzGuid* type) const;

    // A new instance of the server as a host object: its first interface. A failure is reported, and thrown as its code.
    IKzUnknown* spawn(std::uint32_t index) const;

    // Lets go of the tags, at the end of the interpreter.
    void releaseTags();

private:
    template <class T> friend class CKzForever;
    struct State;
    CServerList();
    State& m_state;
};

// The host's own copy of an interface identifier; null when the host does not know it.
const KzGuid* kzServerType(const KzGuid& iid);
// The identifier that the text stands for. Throws FAILED.
KzGuid kzGuidOfText(const char* text);
// Gives the host's services back, at unload.
void kzReleaseServerServices() noexcept;
