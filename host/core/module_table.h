// The modules that a host has loaded and the servers that they offer.
#pragma once

#include "host/core/object.h"

#include "kz/module.h"

#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace kzhost {

// A shared object, loaded or not.
class CLibrary {
public:
    CLibrary() = default;
    ~CLibrary();
    CLibrary(const CLibrary&) = delete;
    CLibrary& operator=(const CLibrary&) = delete;

    // False, with the reason in `why`.
    bool open(const std::string& path, std::string& why);
    void* symbol(const char* name, std::string& why) const;
    // Normally a library stays: other libraries may have taken hold of what it brought along.
    void closeOnDestruction() { m_closes = true; }

private:
    void* m_handle = nullptr;
    bool m_closes = false;
};

// One server as its module lists it.
struct KzServer {
    std::string name;
    KzGuid iid{};
    std::string className;  // empty when the SDK knows no such class
    std::string moduleName;
    CKzUser_Module module;

    KzServer() = default;
    KzServer(const KzServer& other) { *this = other; }
    KzServer& operator=(const KzServer& other);
};

using KzTags = std::vector<std::pair<std::string, std::string>>;

class CModuleTable {
public:
    // What modules are given as their host, as long as there is one; held by whoever made it.
    void setApplication(IKzUnknown* application) noexcept { m_application = application; }
    // Loads the file and takes in its module; false with a full sentence in `why`.
    bool load(const std::string& path, std::string& why);
    // Takes in a module object: gives it the application, reads its servers.
    KzResult adopt(const std::string& name, const std::string& path, IKzUnknown* object, IKzUnknown* application);
    // Takes in how the servers of that module have changed, and adds those that are new to `added`; NOTFOUND when there is
    // no module of that name. A list that has grown is read from its former end, so that a module may announce its servers
    // one by one; all of it is read again when it is next asked for.
    KzResult update(std::string_view name, std::vector<KzServer>& added);
    bool remove(std::string_view pathOrName);
    // Gives up everything, each module's own object last.
    void clear();
    void closeLibraries() { m_closesLibraries = true; }

    // Servers of that class ("command"), or all with an empty name, in the order of registration.
    std::vector<KzServer> servers(std::string_view className = {}) const;
    // The classes of those servers, each once.
    std::vector<std::string> classNames() const;
    std::optional<KzServer> find(std::string_view className, std::string_view name) const;
    std::vector<std::pair<std::string, std::string>> modules() const;  // name and path

    // A new instance of the server with one reference; throws the module's code.
    static CKzLoc_Unknown& spawn(const KzServer& server, CKzLoc_Unknown& object);
    // Its tags; none when it has none. Makes an instance where the module has no other way to tell.
    static KzTags tagsOf(const KzServer& server);

private:
    // A source of servers: a module, or a module server inside one.
    struct Source {
        std::string name;
        std::string path;
        std::unique_ptr<CLibrary> library;
        CKzUser_Module module;
        bool isInner = false;
        std::vector<KzServer> servers;
        std::uint32_t records = 0;  // how long the module's list was when it was read
        bool isStale = false;       // only the end of the list has been read since it changed
    };

    static std::vector<KzServer> describe(const Source& source, std::uint32_t from, std::uint32_t to);
    void read(Source& source) const;
    bool readEnd(Source& source, std::vector<KzServer>& added);
    void refresh() const;
    void readInner(const Source& outer);

    IKzUnknown* m_application = nullptr;
    mutable std::recursive_mutex m_lock;
    std::vector<std::shared_ptr<Source>> m_sources;
    bool m_closesLibraries = false;
};

// The class name that the SDK gives an interface; empty when it has none.
std::string kzClassNameOf(const KzGuid& iid);

}  // namespace kzhost
