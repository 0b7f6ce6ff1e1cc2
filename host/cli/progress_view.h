// Shows monitors: a bar for each on a terminal, lines of text elsewhere.
#pragma once

#include "host/state/monitor_board.h"

#include <chrono>
#include <functional>
#include <string>
#include <vector>

namespace kzhost {

class CProgressView {
public:
    using Time = std::chrono::steady_clock::time_point;
    // The output of the view, and its clock.
    struct Place {
        bool isTerminal;
        std::function<void(std::vector<std::string> bars)> showBars;
        std::function<void(const std::string& text)> writeLine;
        std::function<Time()> now = [] { return std::chrono::steady_clock::now(); };
    };
    explicit CProgressView(Place place) : m_place(std::move(place)) {}

    // A monitor is identified by the address of its state, which does not change until the monitor has ended.
    void operator()(const MonitorState& state);

private:
    struct Row {
        const MonitorState* monitor;
        std::string text;
        Time lastLine;         // when the last line was written, or the task began
        bool hasLine = false;  // a line was written
    };
    Row& rowOf(const MonitorState& state);
    void step(const MonitorState& state);
    void end(const MonitorState& state);
    void showBars() const;

    Place m_place;
    std::vector<Row> m_rows;  // of the monitors that have steps, in the order in which their tasks began
};

}  // namespace kzhost
