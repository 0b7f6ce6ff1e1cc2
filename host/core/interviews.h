// The interview that is going on: an interviewer asks one question after another, and commands or modules answer.
//
// Without a window, a question is a line of the log, and the next one waits until it is answered. No lock is held while the
// interviewer is called, so it may itself go back or cancel.
#pragma once

#include "kz/base/object.h"
#include "kz/help.h"

#include <cstdint>
#include <memory>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

namespace kzhost {

class CLogStore;

class CInterviews {
public:
    explicit CInterviews(std::shared_ptr<CLogStore> log) : m_log(std::move(log)) {}

    // All throw the code of a failure, with the reason in the log.
    void start(IKzUnknown* interviewer, std::string title);
    // An answer that is refused leaves the question.
    void answer(const std::string& text);
    void back();
    void cancel(const std::string& reason);
    bool isActive() const;
    std::string title() const;
    std::string question() const;
    // Cancels before the modules go.
    void end() noexcept;

private:
    struct Interview {
        CKzUser_Interviewer interviewer;
        std::string title;
        std::vector<std::uint32_t> asked;  // the numbers of the questions, that of the present one last
        std::string question;
        bool isBusy = false;  // a call of the interviewer decides what is asked next
    };
    using InterviewRef = std::shared_ptr<Interview>;
    class CBusy;

    InterviewRef current(const char* place) const;
    bool isCurrent(const InterviewRef& interview) const;
    void ask(const InterviewRef& interview, std::uint32_t index);
    void finish(const InterviewRef& interview, bool cancelled);

    std::shared_ptr<CLogStore> m_log;
    mutable std::mutex m_lock;
    InterviewRef m_current;  // what it holds is guarded by the lock as well
};

}  // namespace kzhost
