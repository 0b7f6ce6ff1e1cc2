// The modules loaded into a host, and their servers.
#pragma once

#include "host/core/object.h"

#include "kz/module.h"

#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <utility>
#include <vector>

namespace kzhost {

// A handle of a shared library.
class CLibrary {
public:
    CLibrary() = default;
    ~CLibrary();
    CLibrary(const CLibrary&) = delete;
    CLibrary& operator=(const CLibrary&) = delete;

    // False, with the reason in `why`, if it cannot be loaded.
    bool open(const std::string& path, std::string& why);
    void* symbol(const char* name, std::string& why) const;
    // By default a library stays loaded, as other libraries may use its dependencies.
    void closeOnDestruction() { m_closes = true; }

private:
    void* m_handle = nullptr;
    bool m_closes = false;
};

// One server in a module's list.
struct KzServer {
    std::string name;
    KzGuid iid{};
    std::string className;  // empty when the SDK knows no such class
    std::string moduleName;
    std::uint32_t record = 0;  // its place in the module's list
    CKzUser_Module module;

    KzServer() = default;
    KzServer(const KzServer& other) { *this = other; }
    KzServer& operator=(const KzServer& other);
};

using KzTags = std::vector<std::pair<std::string, std::string>>;

class CModuleTable {
public:
    // The borrowed reference that modules get as their host; null once there is none.
    void setApplication(IKzUnknown* application) noexcept { m_application = application; }
    // Loads the file and adopts its module. False, with a full sentence in `why`, on failure.
    bool load(const std::string& path, std::string& why);
    // Adds a module object: hands it the application and reads its servers.
    KzResult adopt(const std::string& name, const std::string& path, IKzUnknown* object, IKzUnknown* application);
    // Reads the changed servers of that module and appends new ones to `added`; NOTFOUND for an unknown module. Of a list
    // that has grown only the new end is read, and a server that is found by its name is checked alone, so that announcing
    // and using servers one by one costs linear time. The whole list is read again when somebody asks for all servers, or
    // for one that seems not to be there.
    KzResult update(std::string_view name, std::vector<KzServer>& added);
    // Called by whoever announces new servers, with each of them.
    void whenAdded(std::function<void(const KzServer&)> tell) { m_whenAdded = std::move(tell); }
    void announce(const KzServer& server) const {
        if (m_whenAdded) m_whenAdded(server);
    }
    // Called after a module has come or gone, without the lock.
    void whenListed(std::function<void()> tell) { m_whenListed = std::move(tell); }
    bool remove(std::string_view pathOrName);
    // Releases all modules and their servers, each module object last.
    void clear();
    void closeLibraries() { m_closesLibraries = true; }

    // The servers of a class ("command"), or of all classes with an empty name, in the order of registration.
    std::vector<KzServer> servers(std::string_view className = {}) const;
    // The classes of those servers, each once.
    std::vector<std::string> classNames() const;
    std::optional<KzServer> find(std::string_view className, std::string_view name) const;
    std::vector<std::pair<std::string, std::string>> modules() const;  // name and path
    // A number that changes with the lists of servers.
    std::uint64_t changes() const;

    // A new instance of the server with one reference; throws the module's code.
    static CKzLoc_Unknown& spawn(const KzServer& server, CKzLoc_Unknown& object);
    // The server's tags. Makes an instance if the module has no other way to list them.
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
        std::unordered_map<std::string, std::size_t> index;  // of the first server with that class and name
        std::uint32_t records = 0;                           // the length of the module's list when it was read
        bool isStale = false;                                // only the end of the changed list has been read

        void add(std::vector<KzServer> more);
    };
    struct Match {
        KzServer server;
        bool isStale = false;
    };

    static std::vector<KzServer> describe(const Source& source, std::uint32_t from, std::uint32_t to);
    void read(Source& source) const;
    bool readEnd(Source& source, std::vector<KzServer>& added);
    void refresh() const;
    std::optional<Match> match(const std::string& key) const;
    void readInner(const Source& outer);

    IKzUnknown* m_application = nullptr;
    mutable std::recursive_mutex m_lock;
    std::vector<std::shared_ptr<Source>> m_sources;
    mutable std::uint64_t m_changes = 0;
    bool m_closesLibraries = false;
    std::function<void(const KzServer&)> m_whenAdded;
    std::function<void()> m_whenListed;
};

// The class name that the SDK gives an interface; empty when it has none.
std::string kzClassNameOf(const KzGuid& iid);

}  // namespace kzhost
