// What every command of the host offers to the host's own parts, beside its interfaces for modules.
#pragma once

#include "kz/base/object.h"
#include "kz/base/polymorph.h"

#include <string>
#include <vector>

namespace kzhost {

inline constexpr KzGuid KZu_HOSTCOMMAND{0x51318E90, 0x9A62, 0x52E8, {0xB0, 0x0D, 0x52, 0x40, 0x18, 0xD9, 0xF9, 0x2F}};

class IKzHostCommand : public IKzUnknown {
public:
    // For each argument, true if an alias has set it. May be shorter than the list of arguments.
    virtual std::vector<bool>& Presets() = 0;
    // Puts a failure into the command's message.
    virtual void Fail(KzResult code, const std::string& text) = 0;

protected:
    ~IKzHostCommand() = default;
};

class CKzImpl_HostCommand {
public:
    virtual ~CKzImpl_HostCommand() = default;
    virtual void hostcommand_Fail(KzResult code, const std::string& text) = 0;

    std::vector<bool> presets;
};

template <class T> class CKzIfc_HostCommand : public CKzSlot<IKzHostCommand> {
public:
    using Implementation = CKzImpl_HostCommand;
    static constexpr const KzGuid& iid = KZu_HOSTCOMMAND;
    using CKzSlot<IKzHostCommand>::CKzSlot;
    std::vector<bool>& Presets() final { return self().presets; }
    void Fail(KzResult code, const std::string& text) final { self().hostcommand_Fail(code, text); }

private:
    T& self() const { return *static_cast<T*>(this->object()); }
};

// Empty for a command that is not the host's.
class CKzLoc_HostCommand : public CKzLocalize<IKzHostCommand> {
public:
    explicit CKzLoc_HostCommand(IKzUnknown* command) { set(command); }
    const KzGuid& guid() const override { return KZu_HOSTCOMMAND; }
};

}  // namespace kzhost
