// Monitors and messages of a host without windows.
#include "host/progress_view.h"
#include "tests/support/host_test.h"

#include "kz/dialog.h"
#include "kz/result.h"

namespace {

class DialogTest : public HostTest {
protected:
    CKzUser_Monitor monitor(const char* title) {
        CKzLoc_Unknown made;
        EXPECT_EQ(ServiceOf<CKzUser_StdDialogService>(host().application()).MonitorAllocate(title, made.out()), KZe_OK);
        return CKzUser_Monitor(made.raw());
    }
};

TEST_F(DialogTest, MonitorsReportTheirStepsAndEnd) {
    std::string seen;
    host().core().monitors.setViewer([&](const MonitorState& state) {
        seen += std::to_string(state.done) + "/" + std::to_string(state.steps) + (state.ended ? "." : " ");
    });
    const ServiceOf<CKzUser_StdDialogService> dialogs(host().application());
    {
        const auto work = monitor("Progress");
        EXPECT_EQ(work->Initialize(0), KZe_INVALIDARG);
        EXPECT_EQ(work->Initialize(4), KZe_OK);
        EXPECT_EQ(work->Increment(1), KZe_OK);
        EXPECT_EQ(work->Increment(9), KZe_OK) << "more than announced";
        host().core().monitors.abort(true);
        EXPECT_EQ(work->Increment(1), KZe_ABORT);
        std::uint32_t depth = 0;
        EXPECT_EQ(dialogs->MonitorDepth(&depth), KZe_OK);
        EXPECT_EQ(depth, 1U);
        EXPECT_EQ(dialogs->MonitorReleaseObj(work.raw()), KZe_OK);
        EXPECT_EQ(dialogs->MonitorReleaseObj(work.raw()), KZe_OK) << "once more does no harm";
        EXPECT_EQ(dialogs->MonitorDepth(&depth), KZe_OK);
        EXPECT_EQ(depth, 0U);
    }
    EXPECT_EQ(seen, "0/4 1/4 4/4 4/4 4/4.");
    EXPECT_EQ(dialogs->MonitorReleaseObj(nullptr), KZe_INVALIDARG);
}

TEST_F(DialogTest, ProgressIsDrawnOnlyWhenItChanges) {
    const std::pair<bool, const char*> cases[] = {
        {false, "Load: 0% (0 of 1000)\nLoad: 25% (250 of 1000)\nLoad: 50% (500 of 1000)\nLoad: 75% (750 of 1000)\n"
                "Load: 100% (1000 of 1000)\n"},
        {true, nullptr}};
    for (const auto& [isTerminal, expected] : cases) {
        char* text = nullptr;
        std::size_t size = 0;
        std::FILE* file = open_memstream(&text, &size);
        CProgressView view(file, isTerminal);
        for (std::uint64_t done = 0; done <= 1000; ++done) view({"Load", 1000, done, false});
        view({"Load", 1000, 1000, true});
        std::fclose(file);
        if (expected != nullptr) {
            EXPECT_EQ(std::string(text), expected);
        } else {
            EXPECT_EQ(std::count(text, text + size, '\r'), 101);
            EXPECT_EQ(text[size - 1], '\n');
        }
        std::free(text);
    }
}

TEST_F(DialogTest, MessagesGoToTheLogWithTheCautiousAnswer) {
    const ServiceOf<CKzUser_StdDialogService> dialogs(host().application());
    const auto message = CHostRef<CMessage>::make();
    message->msg_SetCode(KZe_NOACCESS);
    std::uint32_t answer = 0;
    EXPECT_EQ(dialogs->MessageOpen(message.raw(), KZiMSGDIALOG_YESNO, nullptr, &answer), KZe_OK);
    EXPECT_EQ(answer, KZeMSGDIALOG_NO);
    ASSERT_EQ(host().log().lines("dialogs").size(), 1U);
    EXPECT_EQ(host().log().lines("dialogs")[0].text, "access is denied");
    const char* path = nullptr;
    EXPECT_EQ(dialogs->FolderOpen("", "", &path), KZe_NOTAVAILABLE);
}

}  // namespace
