// The keyword arguments of one kz.command call, as the host reads them.
#pragma once

#include "wrap/dict_pairs.h"

#include "kz/command.h"

// Attributes that are plain named texts. The host parses each one by the type of the command's own argument. All other
// operations inherit NOTIMPL from the base.
class CArgAttrib : public CKzImpl_Attributes, public CDictPairs {
public:
    std::uint32_t attr_Count() override { return count(); }
    KzResult attr_Name(std::uint32_t index, const char** name) override;
    KzResult attr_GetString(std::uint32_t index, char* buffer, std::uint32_t length) override;
};

// Makes the wrapper hold a new attributes object, and returns a borrowed reference to its lists. Throws FAILED.
CArgAttrib& kzSpawnArguments(CKzLoc_Attributes& attributes);
