// The script services: queries of scripts about the running host.
#include "host/services/script_queries.h"

#include "host/core/command_arguments.h"
#include "host/core/command_dispatcher.h"
#include "host/core/command_text.h"
#include "host/core/log_store.h"
#include "host/core/message.h"
#include "host/core/module_table.h"
#include "host/core/needed_names.h"
#include "host/core/object.h"
#include "host/core/reasons.h"
#include "host/core/refusal.h"
#include "host/core/scripts.h"
#include "host/core/service_base.h"
#include "host/core/service_registry.h"
#include "host/core/value_type_registry.h"
#include "host/state/command_state.h"
#include "host/state/function_ref.h"
#include "host/state/path_aliases.h"
#include "host/state/property_table.h"
#include "host/state/text.h"

#include "kz/command.h"
#include "kz/result.h"
#include "kz/script.h"

#include <algorithm>
#include <array>
#include <iterator>
#include <string>
#include <utility>

namespace kzhost {

namespace {

struct Selection {
    std::string attribute;
    std::string element;
};

struct AttributeRow {
    const char* name;
    const char* type;
    // Appends the answers. Throws QUERY_NEED_SELECTION if the attribute needs an element and none is selected.
    void (*answer)(const QueryEnvironment& host, const Selection& selection, CFunctionRef<void(std::string)> add);
};

struct ServiceRow {
    const char* name;
    std::span<const AttributeRow> attributes;
};

const std::string& needElement(const Selection& selection) {
    if (selection.element.empty()) throw KZe_QUERY_NEED_SELECTION;
    return selection.element;
}

// A new command from the selected string: a name, optionally with arguments.
CKzUser_Command& selectedCommand(const QueryEnvironment& host, const Selection& selection, CKzUser_Command& command) {
    host.dispatcher->parse(needElement(selection), command);
    return command;
}

// Calls `tell` for each of the selected command's arguments.
template <class Tell>
void eachArgument(const QueryEnvironment& host, const CKzUser_Command& command, const Tell& tell) {
    const CCommandArguments arguments(*host.types, command.raw());
    for (std::uint32_t index = 0; index < arguments.count(); ++index) tell(arguments, index);
}

constexpr AttributeRow commandAttributes[] = {
    {"commands", KZsTYPE_STRING,
     [](const QueryEnvironment& host, const Selection&, auto add) {
         for (const std::string& name : host.dispatcher->registry().names()) add(name);
     }},
    {"exists", KZsTYPE_BOOLEAN,  // true if the selected name is a command
     [](const QueryEnvironment& host, const Selection& selection, auto add) {
         add(host.dispatcher->registry().has(needElement(selection)) ? "true" : "false");
     }},
    {"arguments", KZsTYPE_STRING,  // of the selected command
     [](const QueryEnvironment& host, const Selection& selection, auto add) {
         CKzUser_Command command;
         eachArgument(host, selectedCommand(host, selection, command),
                      [&](const CCommandArguments& arguments, std::uint32_t index) { add(arguments.nameOf(index)); });
     }},
    {"argumentsEnabled", KZsTYPE_BOOLEAN,  // for each argument, its present state
     [](const QueryEnvironment& host, const Selection& selection, auto add) {
         CKzUser_Command command;
         eachArgument(host, selectedCommand(host, selection, command),
                      [&](const CCommandArguments& arguments, std::uint32_t index) {
                          add(arguments.isEnabled(index) ? "true" : "false");
                      });
     }},
    {"dialog", KZsTYPE_STRING,  // for each argument, the initial value of its dialog
     [](const QueryEnvironment& host, const Selection& selection, auto add) {
         CKzUser_Command command;
         const KzResult code = selectedCommand(host, selection, command).DialogInit();
         if (kzRefuses(code)) throw code;
         eachArgument(host, command, [&](const CCommandArguments& arguments, std::uint32_t index) {
             add(arguments.isSecret(index) ? "" : kzAttributeText(arguments.attributes(), index));
         });
     }},
    {"enabled", KZsTYPE_BOOLEAN,  // true if the selected command is enabled
     [](const QueryEnvironment& host, const Selection& selection, auto add) {
         CKzUser_Command command;
         const auto message = CHostRef<CMessage>::make();
         const KzResult code = selectedCommand(host, selection, command).Enable(message.raw());
         add(kzRefuses(code) ? "false" : "true");
     }},
    {"history", KZsTYPE_STRING,
     [](const QueryEnvironment& host, const Selection&, auto add) {
         for (const std::string& text : host.dispatcher->registry().environment()->state->history()) add(text);
     }},
};

constexpr AttributeRow scriptAttributes[] = {
    {"interpreters", KZsTYPE_STRING,
     [](const QueryEnvironment& host, const Selection&, auto add) {
         for (const KzServer& server : host.modules->servers(KZa_TEXTSCRIPTINTERPRETER)) add(server.name);
     }},
    {"depth", KZsTYPE_INTEGER,
     [](const QueryEnvironment& host, const Selection&, auto add) { add(std::to_string(host.scripts->depth())); }},
};

constexpr AttributeRow hostAttributes[] = {
    {"modules", KZsTYPE_STRING,
     [](const QueryEnvironment& host, const Selection&, auto add) {
         for (const auto& [name, path] : host.modules->modules()) add(name);
     }},
    {"servers", KZsTYPE_STRING,  // of the selected class, or all
     [](const QueryEnvironment& host, const Selection& selection, auto add) {
         for (const KzServer& server : host.modules->servers(kzNeedClass(selection.element))) add(server.name);
     }},
    {"classes", KZsTYPE_STRING,
     [](const QueryEnvironment& host, const Selection&, auto add) {
         for (const std::string& name : host.modules->classNames()) add(name);
     }},
    {"services", KZsTYPE_STRING,
     [](const QueryEnvironment& host, const Selection&, auto add) {
         if (const auto registry = host.services.lock())
             for (const std::string& name : registry->names()) add(name);
     }},
};

constexpr AttributeRow logAttributes[] = {
    {"subsystems", KZsTYPE_STRING,
     [](const QueryEnvironment& host, const Selection&, auto add) {
         for (const auto& subsystem : host.log->subsystems()) add(subsystem->name());
     }},
    {"count", KZsTYPE_INTEGER,  // of lines, children included
     [](const QueryEnvironment& host, const Selection& selection, auto add) {
         add(std::to_string(host.log->lines(kzNeedSubsystem(*host.log, needElement(selection))).size()));
     }},
    {"lines", KZsTYPE_STRING,
     [](const QueryEnvironment& host, const Selection& selection, auto add) {
         for (const LogLine& line : host.log->lines(kzNeedSubsystem(*host.log, needElement(selection))))
             add(kzWithoutMarkup(line.text));
     }},
};

constexpr AttributeRow fileAttributes[] = {
    {"aliases", KZsTYPE_STRING,
     [](const QueryEnvironment& host, const Selection&, auto add) {
         for (const auto& [name, path] : host.files->aliases()) add(name);
     }},
    {"path", KZsTYPE_STRING,  // of the selected aliased path
     [](const QueryEnvironment& host, const Selection& selection, auto add) {
         const auto path = host.files->expand(needElement(selection));
         if (!path) throw CommandTextError{KZe_NOTFOUND, "there is no alias for \"" + selection.element + "\""};
         add(*path);
     }},
};

constexpr AttributeRow valueAttributes[] = {
    {"types", KZsTYPE_STRING,
     [](const QueryEnvironment& host, const Selection&, auto add) {
         for (const std::string& name : host.types->names()) add(name);
     }},
    {"choices", KZsTYPE_STRING,  // of the selected type, if a module serves it with hints
     [](const QueryEnvironment& host, const Selection& selection, auto add) {
         const auto& type = host.types->need(KZe_NOTFOUND, "ScriptQuery.Query", needElement(selection));
         for (const std::string& choice : host.types->choices(type.name)) add(choice);
     }},
    {"units", KZsTYPE_STRING,
     [](const QueryEnvironment& host, const Selection&, auto add) {
         add(host.properties->get("units").value_or("si"));
     }},
};

constexpr ServiceRow rows[] = {
    {"command", commandAttributes}, {"file", fileAttributes},     {"host", hostAttributes},
    {"log", logAttributes},         {"script", scriptAttributes}, {"value", valueAttributes},
};

class CScriptQuery final : public CHosted<"script query", CScriptQuery, CKzIfc_ScriptQuery>, CServiceBase {
public:
    CScriptQuery(std::shared_ptr<const QueryEnvironment> host, const ServiceRow& service)
        : CServiceBase(host->context), m_host(std::move(host)), m_service(service) {}

    KzResult sq_Lookup(const char* name, std::uint32_t* index) override;
    KzResult sq_TypeName(std::uint32_t index, const char** type) override {
        enter("ScriptQuery.TypeName");
        *type = row(index).type;
        return KZe_OK;
    }
    KzResult sq_Select(const char* attribute, const char* which) override;
    KzResult sq_Query(std::uint32_t index, IKzUnknown* values) override;

private:
    const AttributeRow& row(std::uint32_t index) const {
        if (index >= m_service.attributes.size()) throw KZe_OUTOFBOUNDS;
        return m_service.attributes[index];
    }

    std::shared_ptr<const QueryEnvironment> m_host;
    const ServiceRow& m_service;
    Selection m_selection;
};

// Without a name, looks up the selected attribute.
KzResult CScriptQuery::sq_Lookup(const char* name, std::uint32_t* index) {
    enter("ScriptQuery.Lookup");
    const std::string_view attribute =
        kzTextOf(name).empty() ? std::string_view(m_selection.attribute) : kzTextOf(name);
    if (attribute.empty()) return KZe_QUERY_NEED_SELECTION;
    for (std::uint32_t at = 0; at < m_service.attributes.size(); ++at) {
        if (attribute != m_service.attributes[at].name) continue;
        *index = at;
        return KZe_OK;
    }
    return kzBecause(KZe_QUERY_UNKNOWN_ATTRIBUTE, "ScriptQuery.Lookup", [&] {
        return kzThereIsNo("attribute", attribute, m_service.attributes, [](const auto& each) { return each.name; });
    });
}

KzResult CScriptQuery::sq_Select(const char* attribute, const char* which) {
    enter("ScriptQuery.Select");
    std::uint32_t index = 0;
    if (!kzTextOf(attribute).empty())
        if (const KzResult code = sq_Lookup(attribute, &index); kzFailed(code)) return code;
    m_selection = {kzString(attribute), kzString(which)};
    return KZe_OK;
}

KzResult CScriptQuery::sq_Query(std::uint32_t index, IKzUnknown* values) {
    enter("ScriptQuery.Query");
    const CKzUser_ValueArray target(values);
    if (!target) return KZe_INVALIDARG;
    try {
        row(index).answer(*m_host, m_selection, [&](const std::string& text) {
            if (const KzResult code = target->AddString(text.c_str()); kzFailed(code)) throw code;
        });
    } catch (const CommandTextError& error) {
        return kzBecause(error.code, "ScriptQuery.Query", [&error] { return error.text; });
    }
    return KZe_OK;
}

class CNamedService final : public CHosted<"named service", CNamedService, CKzIfc_ServiceExtension>, CServiceBase {
public:
    CNamedService(std::shared_ptr<CServiceRegistry> services, std::shared_ptr<const QueryEnvironment> queries,
                  std::string name)
        : CServiceBase(queries->context), m_services(std::move(services)), m_queries(std::move(queries)),
          m_name(std::move(name)) {}

    KzResult ser_ScriptQuery(IKzUnknown** query) override {
        enter("ServiceExtension.ScriptQuery");
        return kzMakeQuery(m_queries, m_name, query);
    }
    IKzUnknown* subObject(const KzGuid& iid) {
        const KzGuid* own = m_services->find(m_name);
        return own != nullptr && *own == iid ? m_services->make(iid) : nullptr;
    }

private:
    std::shared_ptr<CServiceRegistry> m_services;
    std::shared_ptr<const QueryEnvironment> m_queries;
    std::string m_name;
};

constexpr auto names = [] {
    std::array<const char*, std::size(rows)> all{};
    for (std::size_t index = 0; index < all.size(); ++index) all[index] = rows[index].name;
    return all;
}();

}  // namespace

std::span<const char* const> kzQueryServices() { return names; }

KzResult kzMakeQuery(const std::shared_ptr<const QueryEnvironment>& host, std::string_view service,
                     IKzUnknown** query) {
    for (const ServiceRow& row : rows)
        if (service == row.name) return CHostRef<CScriptQuery>::make(host, row).give(query);
    return kzBecause(KZe_QUERY_UNKNOWN_SERVICE, "ScriptSys.ServiceQuery", [&] {
        return kzThereIsNo("script service", service, {names.begin(), names.end()});
    });
}

IKzUnknown* kzMakeNamedService(const std::shared_ptr<CServiceRegistry>& services,
                               const std::shared_ptr<const QueryEnvironment>& queries, std::string_view name) {
    const KzGuid* iid = services->find(name);
    CKzLoc_Unknown service;
    if (iid != nullptr) *service.out() = services->make(*iid);
    if (!service) return nullptr;
    const bool answers =
        std::any_of(std::begin(rows), std::end(rows), [&](const auto& row) { return name == row.name; });
    if (!answers) {
        service.raw()->AddRef();
        return service.raw();
    }
    return kzMakeObject<CNamedService>(services, queries, std::string(name));
}

}  // namespace kzhost
