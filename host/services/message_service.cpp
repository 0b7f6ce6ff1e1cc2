// The message service.
#include "host/services/message_service.h"

#include "host/core/log_store.h"
#include "host/core/message.h"
#include "host/core/message_tables.h"
#include "host/core/object.h"
#include "host/core/reasons.h"
#include "host/core/service_base.h"
#include "host/state/text.h"

#include "kz/message.h"
#include "kz/result.h"

#include <utility>

namespace kzhost {

namespace {

class CMessageService final : public CHosted<"message service", CMessageService, CKzIfc_MessageService>, CServiceBase {
public:
    CMessageService(std::shared_ptr<ServiceContext> context, std::shared_ptr<CLogStore> log)
        : CServiceBase(std::move(context)), m_log(std::move(log)) {}

    KzResult messageservice_Allocate(IKzUnknown** message) override {
        enter("Message.Allocate");
        return CHostRef<CMessage>::make().give(message);
    }
    KzResult messageservice_MessageText(IKzUnknown* message, char* buffer, std::uint32_t length) override {
        enter("Message.MessageText");
        const CKzUser_Message asMessage(message);
        return asMessage ? kzFillText(CMessageTables::textOf(*asMessage.ptr()), buffer, length) : KZe_INVALIDARG;
    }
    KzResult messageservice_TableText(const char* table, const char* key, char* buffer, std::uint32_t length) override {
        enter("Message.TableText");
        const auto text = CMessageTables::find(kzTextOf(table), kzTextOf(key));
        if (text) return kzFillText(*text, buffer, length);
        return kzBecause(KZe_NOTFOUND, "Message.TableText",
                         [&] { return "the table \"" + kzString(table) + "\" has no text \"" + kzString(key) + "\""; });
    }
    KzResult messageservice_TableHas(const char* table, const char* key) override {
        enter("Message.TableHas");
        return CMessageTables::find(kzTextOf(table), kzTextOf(key)) ? KZe_OK : KZe_NOTFOUND;
    }
    KzResult messageservice_CodeText(std::uint32_t code, char* buffer, std::uint32_t length) override {
        enter("Message.CodeText");
        return kzFillText(CMessageTables::codeText(code), buffer, length);
    }
    KzResult messageservice_ReportToLog(const char* subsystem, IKzUnknown* message) override {
        enter("Message.ReportToLog");
        const CKzUser_Message asMessage(message);
        if (!asMessage || kzTextOf(subsystem).empty()) return KZe_INVALIDARG;
        m_log->write(subsystem, asMessage->Code(), CMessageTables::textOf(*asMessage.ptr()));
        return KZe_OK;
    }
    KzResult messageservice_Language(const char** code) override {
        enter("Message.Language");
        *code = "en_US";
        return KZe_OK;
    }

private:
    std::shared_ptr<CLogStore> m_log;
};

}  // namespace

decltype(kzMakeMessageService) kzMakeMessageService = kzMakeService<CMessageService>;

}  // namespace kzhost
