// The log service.
#include "host/services/log_service.h"

#include "host/core/listener_table.h"
#include "host/core/log_store.h"
#include "host/core/message_tables.h"
#include "host/core/object.h"
#include "host/core/service_base.h"
#include "host/state/text.h"

#include "kz/base/text_output.h"
#include "kz/block_io.h"
#include "kz/message.h"
#include "kz/result.h"

#include <algorithm>
#include <string_view>
#include <utility>
#include <vector>

namespace kzhost {

namespace {

// The kinds of entries that carry named fields.
struct InfoBlockRow {
    const char* name;
    std::vector<std::pair<const char*, const char*>> fields;
};

class CInfoBlock final : public CHosted<"log block", CInfoBlock, CKzIfc_LogInfoBlock> {
public:
    explicit CInfoBlock(const InfoBlockRow& row) : m_row(row) {}
    KzResult lb_Name(const char** name) override {
        *name = m_row.name;
        return KZe_OK;
    }
    std::uint32_t lb_FieldCount() override { return static_cast<std::uint32_t>(m_row.fields.size()); }
    KzResult lb_FieldName(std::uint32_t index, const char** name) override {
        if (index >= m_row.fields.size()) return KZe_OUTOFBOUNDS;
        *name = m_row.fields[index].first;
        return KZe_OK;
    }
    KzResult lb_FieldType(std::uint32_t index, const char** type) override {
        if (index >= m_row.fields.size()) return KZe_OUTOFBOUNDS;
        *type = m_row.fields[index].second;
        return KZe_OK;
    }

private:
    const InfoBlockRow& m_row;
};

const InfoBlockRow* findBlock(std::string_view name) {
    static const std::vector<InfoBlockRow> blocks = {
        {"script", {{"file", "string"}, {"line", "integer"}}},
        {"command", {{"command", "string"}, {"argument", "string"}, {"expected", "string"}}},
    };
    const auto block = std::find_if(blocks.begin(), blocks.end(), [&](const auto& row) { return name == row.name; });
    return block != blocks.end() ? &*block : nullptr;
}

class CLogService final : public CHosted<"log service", CLogService, CKzIfc_LogService, CKzIfc_TextOutput>,
                          CServiceBase {
public:
    CLogService(std::shared_ptr<ServiceContext> context, std::shared_ptr<CLogStore> log,
                std::shared_ptr<CListenerTable> listeners, std::shared_ptr<CTextBoard> texts)
        : CServiceBase(std::move(context)), m_log(std::move(log)), m_listeners(std::move(listeners)),
          m_texts(std::move(texts)) {}

    KzResult logservice_SubSystemCount(std::uint32_t* count) override {
        enter("Log.SubSystemCount");
        *count = static_cast<std::uint32_t>(m_log->subsystems().size());
        return KZe_OK;
    }
    KzResult logservice_SubSystemByIndex(std::uint32_t index, IKzUnknown** subsystem) override {
        enter("Log.SubSystemByIndex");
        const auto all = m_log->subsystems();
        return index < all.size() ? all[index].give(subsystem) : KZe_OUTOFBOUNDS;
    }
    KzResult logservice_SubSystemLookup(const char* name, IKzUnknown** subsystem) override {
        enter("Log.SubSystemLookup");
        if (kzTextOf(name).empty()) return KZe_INVALIDARG;
        return m_log->subsystem(name).give(subsystem);
    }
    KzResult logservice_CreateEntry(std::uint32_t level, const char* text, IKzUnknown** entry) override {
        enter("Log.CreateEntry");
        return m_log->create(level, kzString(text)).give(entry);
    }
    KzResult logservice_CreateEntryMessage(IKzUnknown* message, IKzUnknown** entry) override {
        enter("Log.CreateEntryMessage");
        const CKzUser_Message asMessage(message);
        if (!asMessage) return KZe_INVALIDARG;
        return m_log->create(asMessage->Code(), CMessageTables::textOf(*asMessage.ptr())).give(entry);
    }
    KzResult logservice_CreateEntryInfo(std::uint32_t level, const char* text, const char* block,
                                        IKzUnknown** entry) override;
    KzResult logservice_InfoBlockByName(const char* name, IKzUnknown** block) override {
        enter("Log.InfoBlockByName");
        const InfoBlockRow* row = findBlock(kzTextOf(name));
        return row != nullptr ? CHostRef<CInfoBlock>::make(*row).give(block) : KZe_NOTFOUND;
    }
    KzResult logservice_DebugOut(std::uint32_t level, const char* text) override {
        enter("Log.DebugOut");
        m_log->write("debug", level, kzString(text));
        return KZe_OK;
    }
    KzResult logservice_SetMaxEntries(std::uint32_t count) override {
        enter("Log.SetMaxEntries");
        m_log->limits.entries = count;
        return KZe_OK;
    }
    std::uint32_t logservice_MaxEntries() override {
        enter("Log.MaxEntries");
        return m_log->limits.entries;
    }
    KzResult logservice_Flush() override {
        enter("Log.Flush");
        m_listeners->log([](IKzLogListener& listener) { listener.Flushed(); });
        return KZe_OK;  // lines are never buffered
    }

    KzResult textoutput_Write(const char* origin, std::uint32_t level, std::uint64_t size, const void* text) override {
        enter("TextOutput.Write");
        return show({kzOriginOf(kzTextOf(origin)), level, {static_cast<const char*>(text), size}});
    }
    KzResult textoutput_Flush(const char* origin) override {
        enter("TextOutput.Flush");
        return show({kzOriginOf(kzTextOf(origin)), KZe_OK, {}, true});
    }
    std::int32_t textoutput_Failure() override { return t_failure; }

private:
    KzResult show(const TextPiece& piece) const {
        t_failure = m_texts->show(piece);
        return t_failure == 0 ? KZe_OK : KZe_IO_ERROR;
    }

    static inline thread_local std::int32_t t_failure = 0;
    std::shared_ptr<CLogStore> m_log;
    std::shared_ptr<CListenerTable> m_listeners;
    std::shared_ptr<CTextBoard> m_texts;
};

KzResult CLogService::logservice_CreateEntryInfo(std::uint32_t level, const char* text, const char* block,
                                                 IKzUnknown** entry) {
    enter("Log.CreateEntryInfo");
    const InfoBlockRow* row = findBlock(kzTextOf(block));
    if (row == nullptr) return KZe_NOTFOUND;
    const auto logEntry = m_log->create(level, kzString(text));
    for (const auto& [name, type] : row->fields) logEntry->logentry_SetInfo(name, "");
    return logEntry.give(entry);
}

}  // namespace

decltype(kzMakeLogService) kzMakeLogService = kzMakeService<CLogService>;

}  // namespace kzhost
