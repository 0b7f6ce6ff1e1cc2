// The interview that is going on.
#include "host/core/interviews.h"

#include "host/core/log_store.h"
#include "host/core/object.h"
#include "host/core/reason_guard.h"
#include "host/core/reasons.h"
#include "host/core/values.h"
#include "host/state/text.h"

#include "kz/result.h"
#include "kz/value.h"

namespace kzhost {

namespace {

constexpr const char* interviewLog = "interview";

}  // namespace

// Keeps everybody else, the interviewer included, from deciding what is asked next.
class CInterviews::CBusy {
public:
    CBusy(const CInterviews& interviews, InterviewRef interview, const char* place)
        : m_interviews(interviews), m_interview(std::move(interview)) {
        const CReasonGuard lock(m_interviews.m_lock);
        if (m_interview->isBusy)
            throw kzBecause(KZe_NOTREADY, place, [] { return "the interviewer has yet to say what it asks next"; });
        m_interview->isBusy = true;
    }
    CBusy(const CBusy&) = delete;
    CBusy& operator=(const CBusy&) = delete;
    ~CBusy() {
        const CReasonGuard lock(m_interviews.m_lock);
        m_interview->isBusy = false;
    }

private:
    const CInterviews& m_interviews;
    InterviewRef m_interview;
};

CInterviews::InterviewRef CInterviews::current(const char* place) const {
    const CReasonGuard lock(m_lock);
    if (m_current == nullptr) throw kzBecause(KZe_NOTAVAILABLE, place, [] { return "no interview is going on"; });
    return m_current;
}

bool CInterviews::isCurrent(const InterviewRef& interview) const {
    const CReasonGuard lock(m_lock);
    return m_current == interview;
}

bool CInterviews::isActive() const { return !isCurrent(nullptr); }

std::string CInterviews::title() const {
    const InterviewRef interview = current("Interviewer");
    const CReasonGuard lock(m_lock);
    return interview->title;
}

std::string CInterviews::question() const {
    const InterviewRef interview = current("Interviewer");
    const CReasonGuard lock(m_lock);
    return interview->question;
}

// An interviewer without a question gives up.
void CInterviews::ask(const InterviewRef& interview, std::uint32_t index) {
    const char* text = nullptr;
    const KzResult code = interview->interviewer.Question(index, &text);
    if (kzFailed(code)) {
        finish(interview, true);
        throw kzBecause(code, "Interviewer.Question",
                        [&] { return "there is no text for the question " + std::to_string(index); });
    }
    std::string question = kzString(text);
    {
        const CReasonGuard lock(m_lock);
        if (m_current != interview) return;  // it was cancelled meanwhile
        interview->asked.push_back(index);
        interview->question = question;
    }
    m_log->write(interviewLog, KZe_OK, interview->title + ": " + question);
}

void CInterviews::finish(const InterviewRef& interview, bool cancelled) {
    {
        const CReasonGuard lock(m_lock);
        if (m_current != interview) return;
        m_current.reset();
    }
    if (const KzResult code = interview->interviewer.Finish(cancelled ? 1 : 0); kzFailed(code) && code != KZe_NOTIMPL)
        throw kzBecause(code, "Interviewer.Finish", [] { return "the interviewer could not finish"; });
}

void CInterviews::start(IKzUnknown* interviewer, std::string title) {
    const auto interview = std::make_shared<Interview>();
    interview->title = std::move(title);
    if (!interview->interviewer.set(interviewer))
        throw kzBecause(KZe_INVALIDARG, "Interviewer.Start",
                        [] { return "the interviewer is no object with the interface Interviewer"; });
    const CBusy busy(*this, interview, "Interviewer.Start");
    {
        const CReasonGuard lock(m_lock);
        if (m_current != nullptr)
            throw kzBecause(KZe_NOTAVAILABLE, "Interviewer.Start", [] { return "another interview is going on"; });
        m_current = interview;
    }
    ask(interview, KZiINTERVIEW_FIRST);
}

void CInterviews::answer(const std::string& text) {
    const InterviewRef interview = current("Interviewer.Answer");
    const CBusy busy(*this, interview, "Interviewer.Answer");
    const std::uint32_t index = interview->asked.back();
    const auto value = CHostRef<CValue>::make(KZsTYPE_STRING);
    value->val_SetString(text.c_str());
    if (const KzResult code = interview->interviewer.Answer(index, value.raw()); kzFailed(code)) {
        if (isCurrent(interview)) m_log->write(interviewLog, KZe_OK, interview->title + ": " + interview->question);
        throw kzBecause(code, "Interviewer.Answer",
                        [&] { return "the answer to the question " + std::to_string(index) + " is refused"; });
    }
    if (!isCurrent(interview)) return;
    const std::uint32_t next = interview->interviewer.Next(index);
    if (next == KZiINTERVIEW_END) finish(interview, false);
    else if (isCurrent(interview)) ask(interview, next);
}

void CInterviews::back() {
    const InterviewRef interview = current("Interviewer.Back");
    const CBusy busy(*this, interview, "Interviewer.Back");
    std::uint32_t index = 0;
    {
        const CReasonGuard lock(m_lock);
        if (interview->asked.size() < 2)
            throw kzBecause(KZe_OUTOFBOUNDS, "Interviewer.Back",
                            [] { return "there is no question before the first"; });
        interview->asked.pop_back();
        index = interview->asked.back();
        interview->asked.pop_back();
    }
    ask(interview, index);
}

void CInterviews::cancel(const std::string& reason) {
    const InterviewRef interview = current("Interviewer.Cancel");
    if (!reason.empty()) m_log->write(interviewLog, KZe_OK, reason);
    finish(interview, true);
}

void CInterviews::end() noexcept {
    try {
        if (isActive()) cancel({});
    } catch (...) {  // the interviewer has been told
        kzBecause(KZe_FAILED, "Interviewer.Finish", [] { return "the interviewer could not finish"; });
    }
}

}  // namespace kzhost
