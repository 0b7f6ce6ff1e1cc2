// The interview service.
#include "host/services/interview_service.h"

#include "host/core/interviews.h"
#include "host/core/message_tables.h"
#include "host/core/object.h"
#include "host/core/reasons.h"
#include "host/core/service_base.h"
#include "host/state/text.h"

#include "kz/help.h"
#include "kz/message.h"
#include "kz/result.h"

#include <memory>
#include <string>
#include <utility>

namespace kzhost {

namespace {

class CInterviewService final : public CHosted<"interview service", CInterviewService, CKzIfc_InterviewerService>,
                                CServiceBase {
public:
    CInterviewService(std::shared_ptr<ServiceContext> context, std::shared_ptr<CInterviews> interviews)
        : CServiceBase(std::move(context)), m_interviews(std::move(interviews)) {}

    KzResult interviewerservice_Start(IKzUnknown* interviewer, const char* title) override {
        enter("Interviewer.Start");
        m_interviews->start(interviewer, kzString(title));
        return KZe_OK;
    }
    KzResult interviewerservice_Back() override {
        enter("Interviewer.Back");
        m_interviews->back();
        return KZe_OK;
    }
    KzResult interviewerservice_Cancel(IKzUnknown* reason) override {
        enter("Interviewer.Cancel");
        const CKzUser_Message message(reason);
        if (reason != nullptr && !message)
            return kzBecause(KZe_INVALIDARG, "Interviewer.Cancel",
                             [] { return "the reason is no object with the interface Message"; });
        m_interviews->cancel(message ? CMessageTables::textOf(*message.ptr()) : std::string());
        return KZe_OK;
    }
    bool interviewerservice_IsActive() override {
        enter("Interviewer.IsActive");
        return m_interviews->isActive();
    }

private:
    std::shared_ptr<CInterviews> m_interviews;
};

}  // namespace

decltype(kzMakeInterviewService) kzMakeInterviewService = kzMakeService<CInterviewService>;

}  // namespace kzhost
