// Every operation of every adapter, called through its interface and answered by Python: what arrives, what comes back,
// and every way in which it can fail.
#include "loopback_call.h"

#include "tests/prove/proof.h"

namespace {

TEST_F(LoopbackTest, EveryOperation) {
    std::size_t forwarded = 0;
    std::size_t inert = 0;
    std::string current;
    CKzLoc_Unknown server;
    CKzLoc_Unknown bare;
    for (const LoopbackRow& row : loopbackRows()) {
        if (current != row.interfaceName) {
            current = row.interfaceName;
            serve(current, false, bare);
            serve(current, true, server);
        }
        run("seen = ''");
        if (row.name[0] == '\0') {
            const LoopbackWord none[20] = {};
            const auto word = row.call(server.raw(), none);
            EXPECT_EQ(code(word), row.signature[0] == 'N' ? KZe_NOTIMPL : 0U) << current;
            EXPECT_EQ(value("seen"), "");
            ++inert;
            continue;
        }
        ++forwarded;
        Call call(row, &there);
        run(call.typed() ? "typed = True" : "typed = False");
        answer("lambda: " + call.good());
        const LoopbackWord word = call.run(server.raw());
        EXPECT_EQ(call.returnsCode() ? code(word) : KZe_OK, KZe_OK) << row.name;
        EXPECT_EQ(value("seen.strip()"), call.expectedSeen());
        call.expectStored();
        call.expectBuffersWritten();

        expectFailure(call, bare.raw(), KZe_FAILED);
        for (const auto& [function, expected] : raised) {
            answer(function);
            forgetLog();
            expectFailure(call, server.raw(), expected);
            expectNamed(row, function, expected != KZe_NOTIMPL);
        }
        checkConversions(row, call, server.raw());
        if (!call.returnsCode()) continue;
        answer("fail(RuntimeError('bad result: FALSE'))");
        EXPECT_EQ(code(call.run(server.raw())), KZe_FALSE) << row.name;
        call.expectCleared();
        run("seen = ''");
        if (call.outputCount() == 0) continue;
        EXPECT_EQ(code(call.run(server.raw(), false)), KZe_INVALIDARG) << row.name;
        EXPECT_EQ(value("seen"), "") << row.name;
    }
    std::size_t methods = 0;
    for (const KzAdapterRow* adapter : kzAdapters) methods += adapter->methods.size();
    kzFigure("methods", static_cast<double>(forwarded));
    EXPECT_EQ(forwarded, methods);
    EXPECT_EQ(inert, 67U);
}

// A host dereferences addresses and tables of hints unchecked.
TEST_F(LoopbackTest, NumbersThatAreNoAddressesAreRefused) {
    // The letters of the outputs that are given each of the values, and the code.
    const std::tuple<const char*, std::vector<const char*>, KzResult> table[] = {
        {"Ph", {"True", "1", "0xFFFF", "-1", "1 << 48", "1 << 70"}, KZe_INVALIDARG},
        {"h", {"[(1, 'one', 2)]", "[1]", "{1: 'a\\0b'}", "Hints([1, 2])"}, KZe_INVALIDARG},
        {"Ph", {"'text'", "1.5"}, KZe_FAILED},
        {"P", {"{1: 'one'}"}, KZe_FAILED},
        {"h", {"[('one', 1)]", "{1: Unreadable()}", "kz.Storage('i', 2)"}, KZe_FAILED},
        {"Ph", {"None", "0", "False"}, KZe_OK}};
    run("class Unreadable(object):\n    def __str__(self): raise ValueError('unreadable')\nclass Hints(list): pass");
    std::string operations;
    for (const LoopbackRow& row : loopbackRows()) {
        if (row.name[0] == '\0') continue;
        Call call(row, &there);
        const char letter = call.addressLetter();
        if (letter == '\0') continue;
        CKzLoc_Unknown server;
        serve(row.interfaceName, true, server);
        for (const auto& [letters, values, code] : table) {
            for (const char* value : std::strchr(letters, letter) != nullptr ? values : std::vector<const char*>()) {
                SCOPED_TRACE(value);
                answer("lambda: " + call.good(letter, value));
                if (kzFailed(code)) {
                    expectFailure(call, server.raw(), code);
                } else {
                    call.run(server.raw());
                    EXPECT_EQ(call.address(), nullptr) << row.name;
                }
            }
        }
        // The contents that a storage or table had when it was returned stay there.
        answer("lambda: " + call.good(letter, letter == 'P' ? "buffer" : "hints"));
        run("hints = [(7, 'seven'), [-8, u'eight']]\nbuffer = kz.Storage('i', 2)\nbuffer.set([7, 8])");
        call.run(server.raw());
        run("hints[:] = []\nbuffer.setSize(100000)\ndel hints, buffer\nbuffer = None");
        if (letter == 'P') {
            EXPECT_EQ(static_cast<const std::int32_t*>(call.address())[1], 8) << row.name;
        } else {
            const auto* hints = static_cast<const KzTextValueHint*>(call.address());
            EXPECT_EQ(hints[0].value, 7);
            EXPECT_STREQ(hints[0].text, "seven");
            EXPECT_EQ(hints[1].value, -8);
            EXPECT_STREQ(hints[1].text, "eight");
            EXPECT_EQ(hints[2].text, nullptr);
        }
        operations += std::string(row.name) + " ";
    }
    EXPECT_NE(operations.find("attr_Hints "), std::string::npos) << operations;
    EXPECT_NE(operations.find("tsc_Alloc "), std::string::npos) << operations;
    const auto isRefusal = [](const auto& line) {
        return line.first.starts_with("Attributes.attr_Hints of ") &&
               line.first.ends_with("got True (ValueError: no memory can be at the address 0x1)");
    };
    const auto lines = told();
    EXPECT_EQ(std::ranges::count_if(lines, isRefusal), 1);
}

}  // namespace
