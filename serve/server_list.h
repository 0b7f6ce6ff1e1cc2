// The list of blessed servers, in the order in which they were blessed.
#pragma once

#include "serve/python_polymorph.h"

#include <optional>

struct CServerData {
    std::string name;
    const KzGuid* type;  // the GUID of the first interface, in the host's memory
    CKzPythonPolymorph* polymorph;
    CPyRef tags;  // a dictionary or None
};

// Adding a server needs the interpreter lock; reading needs it only for tags. An entry's name and type never move.
class CServerList {
public:
    static CServerList& instance();

    // Throws FAILED when the name is taken for that type.
    void add(const char* name, const KzGuid* type, CKzPythonPolymorph& polymorph, PyObject* tags);
    std::uint32_t count() const;
    // The entry at an index, which must be below the count.
    const CServerData& at(std::uint32_t index) const;
    std::optional<std::uint32_t> find(const char* name, const KzGuid* type) const;

    // Makes a new instance of the server and returns the first interface of its host object. A failure is written to the
    // log and thrown as its code.
    IKzUnknown* spawn(std::uint32_t index) const;

    // Releases the tags, at the end of the interpreter.
    void releaseTags();

private:
    template <class T> friend class CKzForever;
    struct State;
    CServerList();
    State& m_state;
};

// The host's own copy of a GUID; null if the host does not know it.
const KzGuid* kzServerType(const KzGuid& iid);
// Parses a GUID. Throws FAILED.
KzGuid kzGuidOfText(const char* text);
// Releases the host's services, at unload.
void kzReleaseServerServices() noexcept;
