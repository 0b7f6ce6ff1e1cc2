// The text of scripts as they write it, and how scripts end. The required channels cannot carry this, because their
// texts are NUL-terminated and have no origin. A host may offer both interfaces, and a module may use them; without
// them the required channels suffice. Neither interface is in the description, and neither ever changes.
#pragma once

#include "kz/base/boundary.h"
#include "kz/base/object.h"
#include "kz/base/polymorph.h"

#include <cstdint>

inline constexpr KzGuid KZu_TEXTOUTPUT{0xE3AC9995, 0xA0DC, 0x564C, {0xB0, 0x8A, 0xC7, 0x44, 0x0C, 0x32, 0x7A, 0xB6}};
inline constexpr KzGuid KZu_SCRIPTOUTCOME{0x4BB3F240, 0x6484, 0x530C, {0x9A, 0xA9, 0x1C, 0x1C, 0x72, 0x3E, 0x17, 0xC4}};

// The origins of texts. A log entry carries the name as its information "origin"; one without it is the host's own.
inline constexpr char kzOriginInfo[] = "origin";
inline constexpr char kzFromOutput[] = "output";    // a script's text
inline constexpr char kzFromError[] = "error";      // a script's error stream
inline constexpr char kzFromModule[] = "message";   // the module
inline constexpr char kzFromReport[] = "report";    // the module, about an exception that nobody caught
inline constexpr char kzFromScript[] = "script";    // the name of a script, whose text is in the child entries
inline constexpr char kzFromLeaks[] = "leaks";      // the module, about what is still alive when Python has ended
inline constexpr char kzFromReplay[] = "replay";    // the module, about a recording that is of no use or is not matched
inline constexpr char kzFromStartup[] = "startup";  // the module, whose interpreter cannot be used

// Offered by the host's log service for the text of scripts, and by a LineExecution for that of its line.
class IKzTextOutput : public IKzUnknown {
public:
    // Writes `size` bytes. The text continues the last one of its origin: no line end is implied.
    virtual KzResult Write(const char* origin, std::uint32_t level, std::uint64_t size, const void* text) = 0;
    // Shows everything that was written so far, even if its line is unfinished.
    virtual KzResult Flush(const char* origin) = 0;
    // The errno of this thread's last operation, or 0 if it did not fail.
    virtual std::int32_t Failure() = 0;

protected:
    ~IKzTextOutput() = default;
};

// Offered by the message that a script is run with, and by a LineExecution. Called once, before the run returns.
class IKzScriptOutcome : public IKzUnknown {
public:
    // The script has called sys.exit(). `isCode` is false if the text contains no code, and the code is a substitute.
    virtual KzResult Exit(std::uint32_t code, bool isCode, const char* text) = 0;
    // The user has interrupted it.
    virtual KzResult Interrupted() = 0;
    // It was ended by an exception that the log has.
    virtual KzResult Reported() = 0;

protected:
    ~IKzScriptOutcome() = default;
};

class CKzImpl_TextOutput {
public:
    virtual ~CKzImpl_TextOutput() = default;
    virtual KzResult textoutput_Write(const char* origin, std::uint32_t level, std::uint64_t size,
                                      const void* text) = 0;
    virtual KzResult textoutput_Flush(const char* origin) = 0;
    virtual std::int32_t textoutput_Failure() = 0;
};

class CKzImpl_ScriptOutcome {
public:
    virtual ~CKzImpl_ScriptOutcome() = default;
    virtual KzResult scriptoutcome_Exit(std::uint32_t code, bool isCode, const char* text) = 0;
    virtual KzResult scriptoutcome_Interrupted() = 0;
    virtual KzResult scriptoutcome_Reported() = 0;
};

template <class T> class CKzIfc_TextOutput : public CKzSlot<IKzTextOutput> {
public:
    using Implementation = CKzImpl_TextOutput;
    static constexpr const KzGuid& iid = KZu_TEXTOUTPUT;
    using CKzSlot<IKzTextOutput>::CKzSlot;
    KzResult Write(const char* origin, std::uint32_t level, std::uint64_t size, const void* text) final {
        return kzBoundary([&] { return self().textoutput_Write(origin, level, size, text); });
    }
    KzResult Flush(const char* origin) final {
        return kzBoundary([&] { return self().textoutput_Flush(origin); });
    }
    std::int32_t Failure() final {
        return kzValueBoundary([&] { return self().textoutput_Failure(); });
    }

private:
    T& self() const { return *static_cast<T*>(this->object()); }
};

template <class T> class CKzIfc_ScriptOutcome : public CKzSlot<IKzScriptOutcome> {
public:
    using Implementation = CKzImpl_ScriptOutcome;
    static constexpr const KzGuid& iid = KZu_SCRIPTOUTCOME;
    using CKzSlot<IKzScriptOutcome>::CKzSlot;
    KzResult Exit(std::uint32_t code, bool isCode, const char* text) final {
        return kzBoundary([&] { return self().scriptoutcome_Exit(code, isCode, text); });
    }
    KzResult Interrupted() final {
        return kzBoundary([&] { return self().scriptoutcome_Interrupted(); });
    }
    KzResult Reported() final {
        return kzBoundary([&] { return self().scriptoutcome_Reported(); });
    }

private:
    T& self() const { return *static_cast<T*>(this->object()); }
};

class CKzLoc_TextOutput : public CKzLocalize<IKzTextOutput> {
public:
    const KzGuid& guid() const override { return KZu_TEXTOUTPUT; }
};

class CKzLoc_ScriptOutcome : public CKzLocalize<IKzScriptOutcome> {
public:
    const KzGuid& guid() const override { return KZu_SCRIPTOUTCOME; }
};
