// A progress monitor.
#include "host/objects/monitor.h"

#include "kz/result.h"

#include <algorithm>
#include <cstdint>
#include <limits>
#include <memory>
#include <string>
#include <utility>

namespace kzhost {

CMonitor::CMonitor(std::shared_ptr<ServiceContext> context, std::shared_ptr<CMonitorBoard> board, std::string title)
    : CServiceBase(std::move(context)), m_board(std::move(board)) {
    m_state.title = std::move(title);
    ++m_board->alive;
}

KzResult CMonitor::mon_Initialize(std::uint32_t count) {
    enter("Monitor.Initialize");
    if (count == 0) return KZe_INVALIDARG;
    m_state.steps = count;
    m_state.done = 0;
    return show();
}

// More steps than announced are no error: the count was an estimate.
KzResult CMonitor::mon_Increment(std::uint32_t count) {
    enter("Monitor.Increment");
    if (count > std::numeric_limits<std::int32_t>::max()) return KZe_INVALIDARG;  // a caller's negative number
    m_state.done += count;
    if (m_state.steps != 0) m_state.done = std::min(m_state.done, m_state.steps);
    return show();
}

void CMonitor::end() {
    if (m_state.ended) return;
    m_state.ended = true;
    --m_board->alive;
    m_board->show(m_state);
}

KzResult CMonitor::show() {
    if (!m_state.ended) m_board->show(m_state);
    return CMonitorBoard::aborts() != m_formerAborts ? KZe_ABORT : KZe_OK;
}

}  // namespace kzhost
