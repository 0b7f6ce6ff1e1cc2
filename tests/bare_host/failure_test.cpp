// Host operations that fail and leave something in their object output all the
// same.
#include "tests/bare_host/bare_host.h"
#include "tests/support/child.h"

#include <gtest/gtest.h>

TEST(failure, makes_no_output_of_the_host_count) {
    const std::pair<const char*, const char*> table[] = {
        {"Log.SubSystemLookup", "print 1"},
        {"Log.CreateEntry", "print 1"},
        {"Log.SubSystemLookup", "kz.service.Log().SubSystemLookup('scripts')"},
        {"Log.CreateEntry", "kz.service.Log().CreateEntry(1, 'text')"},
        {"Application.ServiceByName", "kz.Service('a')"},
        {"ServiceExtension.ScriptQuery", "kz.Service('a')"},
        {"Command.CreateQueryObject", "kz.Service('a').query('b')"},
        {"Command.Spawn", "kz.eval('a')"},
        {"Command.Spawn", "kz.command('a')"},
        {"Command.SpawnImplicitScript", "kz.eval('@a')"},
        {"Command.QueryArgString", "kz.eval('a ?')"},
        {"Command.Message", "kz.command('a')"},
        {"Command.SpawnFromString", "kz.queryToggle('a')"},
        {"Command.SpawnFromString", "kz.test('a')"},
        {"Command.GetToggleArgState", "kz.test('a')"},
        {"Dialog.MonitorAllocate", "kz.Monitor(2).step()"},
        {"ValueArray.GetValue", "kz.service.Command().CreateQueryObject('string').GetValue(0)"},
    };
    for (const auto& [operation, statement] : table)
        kzInChild(operation, [operation = operation, statement = statement] {
            CBareHost host;
            ASSERT_TRUE(host.load());
            host.execute("import kz");
            bool isCalled = false;
            host.whenCalled = [&](const std::string& called) { isCalled = isCalled || called == operation; };
            host.failing = operation;
            host.run((std::string("import kz\n") + statement).c_str());
            host.execute(statement);
            EXPECT_TRUE(isCalled) << statement;
            EXPECT_EQ(host.trap.touches, 0U) << operation << " in " << statement;
            host.failing.clear();
            host.unload();
            EXPECT_EQ(host.references(), 1U) << operation << " in " << statement;
        });
}
