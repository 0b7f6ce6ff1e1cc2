// The keyword arguments of one kz.command call, as the host reads them.
#pragma once

#include "wrap/dict_pairs.h"

#include "kz/command.h"

// Attributes that are nothing but named texts; the host parses each by the type of the command's own argument. What is
// left to the base answers that it is not implemented.
class CArgAttrib : public CKzImpl_Attributes, public CDictPairs {
public:
    std::uint32_t attr_Count() override { return count(); }
    KzResult attr_Name(std::uint32_t index, const char** name) override;
    KzResult attr_GetString(std::uint32_t index, char* buffer, std::uint32_t length) override;
};

// Makes the wrapper hold a new attributes object. What it returns are its lists, which live as long as the object does.
// Throws FAILED when there is nothing to spawn it from.
CArgAttrib& kzSpawnArguments(CKzLoc_Attributes& attributes);
