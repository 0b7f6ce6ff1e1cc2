// How a module and its host find out that they were built from different descriptions of the SDK. An interface keeps its
// GUID when a method is added to it, but all methods after the new one move to other slots of the dispatch table.
#pragma once

#include "kz/base/boundary.h"
#include "kz/base/polymorph.h"

#include <string>

inline constexpr KzGuid KZu_DESCRIPTION{0xE5CFD085, 0x2153, 0x59E4, {0xB2, 0x72, 0x50, 0x10, 0x31, 0xB5, 0xEB, 0xA2}};

// A host's application object may implement this interface. It is not in the description, and it never changes.
class IKzDescription : public IKzUnknown {
public:
    // The hash of the whole description, as text.
    virtual KzResult Hash(const char** hash) = 0;
    // A hash of the names, order and types of an interface's methods; NOTFOUND for an interface that is not described.
    virtual KzResult Signature(const KzGuid* iid, std::uint64_t* signature) = 0;

protected:
    ~IKzDescription() = default;
};

// Answers for the description that this binary was built from.
class CKzImpl_Description {
public:
    virtual ~CKzImpl_Description() = default;
    virtual KzResult description_Hash(const char** hash);
    virtual KzResult description_Signature(const KzGuid* iid, std::uint64_t* signature);
};

template <class T> class CKzIfc_Description : public CKzSlot<IKzDescription> {
public:
    using Implementation = CKzImpl_Description;
    static constexpr const KzGuid& iid = KZu_DESCRIPTION;
    using CKzSlot<IKzDescription>::CKzSlot;
    KzResult Hash(const char** hash) final {
        return kzBoundary([&] { return self().description_Hash(hash); });
    }
    KzResult Signature(const KzGuid* iid, std::uint64_t* signature) final {
        return kzBoundary([&] { return self().description_Signature(iid, signature); });
    }

private:
    T& self() const { return *static_cast<T*>(this->object()); }
};

// Why a module built from this binary's description must not run in that host: both hashes, and the first interfaces
// that differ. Empty when all interfaces known to both sides agree, or when the host does not say.
std::string kzWhyUnfit(IKzUnknown* application);
