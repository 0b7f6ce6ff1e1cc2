// Rules that find files which have moved.
#pragma once

#include "host/core/object.h"

#include "kz/loader.h"

#include <cstdint>
#include <memory>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

namespace kzhost {

// The rules of one host.
struct RedirectRules {
    struct Rule {
        std::string pattern, replacement;
        std::uint32_t kind;
        // The path by this rule; empty if it does not apply. `how` tells which kind of match it was.
        std::string apply(const std::string& path, std::uint32_t& how) const;
    };
    std::mutex lock;
    std::vector<Rule> rules;

    // Where a missing file is by the first rule that leads to one; empty if there is none.
    std::string find(const std::string& path, std::uint32_t& how);
};

class CModuleTable;

// Where a missing file is, by the rules or else by the servers of modules that know; empty if nobody does.
std::string kzLocate(const CModuleTable& modules, RedirectRules& rules, const std::string& path, const char* fileClass);

class CFileRedirect final : public CHosted<"file redirect", CFileRedirect, CKzIfc_FileRedirect> {
public:
    explicit CFileRedirect(std::shared_ptr<RedirectRules> rules) : m_rules(std::move(rules)) {}

    KzResult fileredirect_Locate(const char* path, const char* fileClass, char* found, std::uint32_t length,
                                 std::uint32_t* how) override;
    KzResult fileredirect_AddRule(const char* pattern, const char* replacement, std::uint32_t kind) override;
    KzResult fileredirect_Clear() override;

private:
    std::shared_ptr<RedirectRules> m_rules;
};

}  // namespace kzhost
