// The options of a loader or saver.
#include "host/objects/proxy_options.h"

#include "host/core/command_arguments.h"
#include "host/core/object.h"
#include "host/core/reasons.h"
#include "host/state/text.h"

#include "kz/command.h"
#include "kz/loader.h"
#include "kz/result.h"

#include <string>
#include <vector>

namespace kzhost {

namespace {

class CProxyOptions final : public CHosted<"proxy options", CProxyOptions, CKzIfc_ProxyOptions> {
public:
    explicit CProxyOptions(IKzUnknown* attributes) : m_attributes(attributes) {
        if (!m_attributes) throw KZe_INVALIDARG;
        m_defaults = present();
    }

    KzResult proxyoptions_Attributes(IKzUnknown** attributes) override { return m_attributes.get(attributes); }
    KzResult proxyoptions_Summary(char* summary, std::uint32_t length) override {
        std::string text;
        each([&](std::uint32_t index, const std::string& value) {
            const std::string name = kzAnswer([&](const char** out) { return m_attributes.Name(index, out); });
            text += (text.empty() ? "" : " ") + kzWriteArgument(name, value);
        });
        return kzFillText(text, summary, length);
    }
    KzResult proxyoptions_Reset() override {
        KzResult first = KZe_OK;
        each([&](std::uint32_t index, const std::string& /*value*/) {
            KzResult code = KZe_NOTAVAILABLE;
            if (!m_defaults[index].empty()) code = m_attributes.SetString(index, m_defaults[index].c_str());
            else
                kzBecause(code, "ProxyOptions.Reset",
                          [&] { return "option " + std::to_string(index) + " had no value, and cannot lose its own"; });
            if (kzFailed(code) && kzSucceeded(first)) first = code;
        });
        return first;
    }
    bool proxyoptions_IsDefault() override {
        bool isDefault = true;
        each([&](std::uint32_t /*index*/, const std::string& /*value*/) { isDefault = false; });
        return isDefault;
    }

private:
    // Their texts; empty for those without a value.
    std::vector<std::string> present() const {
        std::vector<std::string> texts;
        for (std::uint32_t index = 0, count = m_attributes.Count(); index < count; ++index)
            texts.push_back(kzAttributeText(m_attributes, index));
        return texts;
    }
    // Calls `use` for each option that differs from its default.
    template <class Use> void each(const Use& use) const {
        const auto now = present();
        for (std::uint32_t index = 0; index < now.size() && index < m_defaults.size(); ++index)
            if (now[index] != m_defaults[index]) use(index, now[index]);
    }

    const CKzUser_Attributes m_attributes;
    std::vector<std::string> m_defaults;
};

}  // namespace

IKzUnknown* kzMakeProxyOptions(IKzUnknown* attributes) { return kzMakeObject<CProxyOptions>(attributes); }

}  // namespace kzhost
