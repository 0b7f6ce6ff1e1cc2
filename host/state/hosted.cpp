// The list of the interfaces that the host's classes implement.
#include "host/state/hosted.h"

namespace kzhost {

namespace {

constinit const HostedInterface* theFirst = nullptr;

}  // namespace

HostedInterface::HostedInterface(const KzGuid& guid, std::span<const bool> ownOperations,
                                 std::span<const std::string_view> windowOperations) noexcept
    : iid(guid), overrides(ownOperations), needsWindow(windowOperations), next(theFirst) {
    theFirst = this;
}

const HostedInterface* kzHostedInterfaces() noexcept { return theFirst; }

}  // namespace kzhost
