// The module object, through which the host lists and creates the built-in servers.
#pragma once

#include "kz/base/global_cache.h"
#include "kz/base/polymorph.h"
#include "kz/module.h"

#include <span>

// Three parallel arrays of equal length, grown twenty entries at a time. Names are not copied.
class CServerTable {
public:
    CServerTable() = default;
    ~CServerTable();
    CServerTable(const CServerTable&) = delete;
    CServerTable& operator=(const CServerTable&) = delete;

    // If an array cannot grow, empties the table and throws OUTOFMEMORY.
    void add(const char* name, CKzGenericPolymorph* polymorph);
    void clear() noexcept { m_count = 0; }

    std::uint32_t count() const noexcept { return m_count; }
    std::uint32_t capacity() const noexcept { return m_capacity; }
    const char* name(std::uint32_t index) const noexcept { return m_names[index]; }
    CKzGenericPolymorph* polymorph(std::uint32_t index) const noexcept { return m_polymorphs[index]; }
    // The GUID of the server's first interface; null if it has none.
    const KzGuid* classId(std::uint32_t index) const noexcept { return m_classIds[index]; }

    // Replaces realloc, so that tests can make it fail; null restores it.
    using Reallocate = void* (*)(void* memory, std::size_t size);
    static void setReallocate(Reallocate reallocate) noexcept;

private:
    void grow();

    CKzGenericPolymorph** m_polymorphs = nullptr;
    const char** m_names = nullptr;
    const KzGuid** m_classIds = nullptr;
    std::uint32_t m_count = 0;
    std::uint32_t m_capacity = 0;
};

class CKzThisModule final : public CKzImpl_Module,
                            public CKzImpl_TagDescription,
                            public CKzImpl_NeedContext,
                            public CKzGenericPolymorph,
                            public CKzGlobalCache {
public:
    enum State : std::uint32_t { unloaded = 0, initialised = 1, shutDown = 2 };
    using Registration = void (*)(CKzThisModule& module);

    CKzThisModule();
    static CKzThisModule& instance();

    // The module's first interface, with a reference; null if initialisation has failed. The first call registers the
    // servers in the given order and runs the deferred initialisers.
    IKzUnknown* create(std::span<const Registration> registrations) noexcept;

    // Throws OUTOFMEMORY. The name must outlive the module.
    void addServer(const char* name, CKzGenericPolymorph* polymorph);

    State lifeState() const noexcept { return m_state; }

    KzResult mod_Generate(const char* name, const KzGuid* iid, IKzUnknown** object) override;
    std::uint32_t tag_Count() override { return m_servers.count(); }
    KzResult tag_Describe(std::uint32_t index, KzTagRecord* record) override;
    KzResult need_SetContext(IKzUnknown* application) override;

    // The module is its own polymorph: every instance stands for this object, and the module shuts down when the host has
    // released the last of them.
    void* createObject() override { return this; }
    void freeObject(void* object) noexcept override;

private:
    CServerTable m_servers;
    State m_state = unloaded;
    bool m_firstCall = true;
    bool m_isUnfit = false;  // for this host; Python never starts then
};
