// A progress monitor of a task.
#pragma once

#include "host/core/object.h"
#include "host/core/service_base.h"
#include "host/state/monitor_board.h"

#include "kz/dialog.h"

#include <memory>
#include <string>

namespace kzhost {

class CMonitor final : public CHosted<"monitor", CMonitor, CKzIfc_Monitor>, CServiceBase {
public:
    CMonitor(std::shared_ptr<ServiceContext> context, std::shared_ptr<CMonitorBoard> board, std::string title);
    ~CMonitor() override { end(); }

    KzResult mon_Initialize(std::uint32_t count) override;
    KzResult mon_Increment(std::uint32_t count) override;
    void end();

private:
    KzResult show();

    std::shared_ptr<CMonitorBoard> m_board;
    MonitorState m_state;
    std::uint32_t m_formerAborts = CMonitorBoard::aborts();  // those before this task began
};

}  // namespace kzhost
