#pragma once

#include <chrono>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "ScriptedMessageService.h"
#include "TestClock.h"
#include "TestDatabase.h"
#include "host/core/HostRuntime.h"
#include "platform/HostServices.h"

namespace ormex::test {

// The machine a test pretends to run on.
class FakeSystemInfo : public platform::SystemInfo
{
public:
    std::optional<std::string> name = std::string("pos-01");
    std::optional<std::string> address = std::string("10.0.0.8");
    long pid = 4242;

    std::optional<std::string> computerName() const override { return name; }
    int readTcp(std::string& out) const override
    {
        if (!address) return 0;
        out = *address;
        return 1;
    }
    long processId() const override { return pid; }
};

struct TestHostOptions
{
    std::optional<bool> isBranch = true; // nothing: the key is not published
    std::optional<bool> svCardShareType = false;
    std::optional<std::string> branchId = std::string("2");
    std::string branchNum = "01";
    bool withHeadquarters = false; // HQ.db beside the branch database, named by the setting
    std::string role = "admin";    // the role of the session's user (7, 测试员)
    std::chrono::milliseconds hqDeadline{std::chrono::seconds(10)}; // of the calls to headquarters
};

// A host session over fresh databases (branch.db and, when asked, HQ.db in one folder), with a
// scripted operator and a fixed machine identity. Today is 2026-11-23 10:30:00 unless the test
// moves the clock.
class TestHost
{
public:
    explicit TestHost(TestHostOptions options = {});
    ~TestHost();

    TestDatabase& branch() { return *m_branch; }
    TestDatabase& hq() { return *m_hq; }
    ScriptedMessageService& messages() { return *m_messages; }
    FakeSystemInfo& system() { return *m_system; }
    ScopedClock& clock() { return m_clock; }
    const host::HostConfig& config() const { return m_runtime->config(); }
    const host::HostRuntime& runtime() const { return *m_runtime; }

    // Points the headquarters setting somewhere else ("(local)/Gone/sa/x" is unreachable); the
    // component sees it once its kept connection text is reset.
    void setHeadquartersSetting(const std::string& value);
    // The session goes on in another branch database of the same folder (made on first use, with
    // the same headquarters), with that branch's number; "branch.db" goes back to the first one.
    // The component's kept headquarters connection text is for the test to reset.
    TestDatabase& useBranch(const std::string& fileName, const std::string& branchNum);

private:
    ScopedClock m_clock{2026, 11, 23, 10, 30, 0};
    std::shared_ptr<FakeSystemInfo> m_system;
    std::shared_ptr<ScriptedMessageService> m_messages;
    std::unique_ptr<TestDatabase> m_branch;
    std::unique_ptr<TestDatabase> m_hq;
    std::vector<std::unique_ptr<TestDatabase>> m_otherBranches;
    std::unique_ptr<host::HostRuntime> m_runtime;
};

} // namespace ormex::test
