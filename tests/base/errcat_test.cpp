// Error service: prompt format, shortening, locking, flags, the hook's
// re-entry guard, prompt conversion, per-thread records and fork handling.
#include <errno.h>
#include <pthread.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "support/support.h"
#include "vsglex/charset.h"
#include "vsglex/errcat.h"

namespace {

std::string Prompt() { return _T_GetLastErrorPrompt(nullptr, 0); }

class ErrorService : public ::testing::Test {
protected:
    void SetUp() override {
        _T_ClearError();
        T_SetErrorHook(nullptr);
    }
    void TearDown() override {
        while (true) {  // leave no lock behind for later tests
            _T_SetLastError(1, "probe", nullptr, 0);
            if (_T_GetLastError() == 1) break;
            _T_UnlockError();
        }
        _T_ClearError();
        T_SetErrorHook(nullptr);
    }
};

TEST_F(ErrorService, PromptCarriesLocationAndSystemNumber) {
    _T_SetLastError(5, "disk full", "/src/lib/fileio", 42);
    EXPECT_EQ(_T_GetLastError(), 5u);
    EXPECT_EQ(Prompt(), "{42@fileio}disk full");

    errno = ENOENT;  // translates to a catalogue code of its own
    EXPECT_EQ(_T_CaptureError(5, "disk full", "/src/lib/fileio", 42), 17007u);
    EXPECT_EQ(_T_GetLastError(), 17007u);
    EXPECT_EQ(Prompt(), "{42@fileio}disk full");
    EXPECT_EQ(errno, 0) << "recording clears the system error number";

    errno = ENOTBLK;  // no translation: the number goes into the block
    EXPECT_EQ(_T_CaptureFileError(5, "disk full", "/src/lib/fileio", 42), 5u);
    EXPECT_EQ(Prompt(), "{42@fileio," + std::to_string(ENOTBLK) + "}disk full");
    EXPECT_EQ(_T_ExistError(0, 1), 1);

    errno = ENOMEM;  // translation equal to the given code keeps the number
    EXPECT_EQ(_T_CaptureCoreError(17010, "m", nullptr, 0), 17010u);
    EXPECT_EQ(Prompt(), "{12}m");
    EXPECT_EQ(_T_ExistError(1, 0), 1);

    _T_SetLastError(9, "{7@x}already placed", "/a/b", 3);
    EXPECT_EQ(Prompt(), "{7@x}already placed");
    _T_SetLastError(9, "{7}also placed", "/a/b", 3);
    EXPECT_EQ(Prompt(), "{7}also placed");
    _T_SetLastError(9, "{x@y}not a block", "b", 3);
    EXPECT_EQ(Prompt(), "{3@b}{x@y}not a block");
    _T_SetLastError(9, "no file name", "/dir/", 3);
    EXPECT_EQ(Prompt(), "no file name");
    _T_SetLastError(9, nullptr, "f.c", 8);
    EXPECT_EQ(Prompt(), "{8@f.c}");
    _T_SetLastMarkError(T_ERR_BAD_ARGUMENT, 51, nullptr, 0);
    EXPECT_EQ(Prompt(), "#51");

    EXPECT_EQ(_T_MapSystemError(0), 0u);
    EXPECT_EQ(_T_MapSystemError(130), 0u);
    EXPECT_EQ(_T_MapSystemError(-4), 0u);
    EXPECT_EQ(_T_MapSystemError(EINTR), T_ERR_INTERRUPTED);
    EXPECT_EQ(_T_MapSystemError(ENOSPC), 17028u);
}

TEST_F(ErrorService, LongTextsAreShortenedOnCharacterBoundaries) {
    const std::string ascii(300, 'a');
    _T_SetLastError(3, ascii.c_str(), "/x/src.c", 1);
    std::string p = Prompt();
    EXPECT_LE(p.size(), 255u);
    EXPECT_EQ(p.substr(0, 9), "{1@src.c}");
    EXPECT_EQ(p.substr(p.size() - 3), "...");

    // 150 two-byte characters: the cut keeps whole characters.
    std::string gb;
    for (int i = 0; i < 150; i++) gb += vsgtest::Gb("中");
    _T_SetLastErrorEx(3, gb.c_str(), T_CHARSET_GB18030, "/x/s", 2);
    p = Prompt();
    ASSERT_GT(p.size(), 200u);
    EXPECT_LE(p.size(), 255u);
    const std::string body = p.substr(5, p.size() - 5 - 3);  // after "{2@s}", before "..."
    EXPECT_EQ(body.size() % 2, 0u);
    EXPECT_EQ(body, gb.substr(0, body.size()));

    // A long file name is cut to 64 bytes when the message is long.
    const std::string file = "/d/" + std::string(100, 'f');
    _T_SetLastError(3, ascii.c_str(), file.c_str(), 7);
    p = Prompt();
    const size_t close = p.find('}');
    EXPECT_EQ(close, 3u + 64u);
    EXPECT_EQ(p.substr(close - 3, 3), "...");

    // Copies into small buffers.
    _T_SetLastError(3, "0123456789", nullptr, 0);
    char buf[16];
    EXPECT_STREQ(_T_GetLastErrorPrompt(buf, 8), "0123...");
    EXPECT_STREQ(_T_GetLastErrorPrompt(buf, 11), "0123456789");
    buf[0] = 'x';
    EXPECT_STREQ(_T_GetLastErrorPrompt(buf, 1), "");
    EXPECT_STREQ(_T_GetLastErrorPrompt(buf, 0), "");
}

TEST_F(ErrorService, LockingFlagsAndClearing) {
    _T_SetLastFileError(7, "first", nullptr, 0);
    _T_LockupError();
    _T_LockupError();
    _T_SetLastError(8, "second", nullptr, 0);
    _T_ClearError();
    EXPECT_EQ(_T_GetLastError(), 7u);
    EXPECT_EQ(Prompt(), "first");
    _T_UnlockError();
    _T_SetLastError(8, "second", nullptr, 0);
    EXPECT_EQ(_T_GetLastError(), 7u) << "still locked once";
    _T_UnlockError();
    _T_UnlockError();  // not below 0
    _T_SetLastError(8, "second", nullptr, 0);
    EXPECT_EQ(_T_GetLastError(), 8u);

    _T_SetLastFileError(7, "f", nullptr, 0);
    EXPECT_EQ(_T_ExistError(1, 0), 0);
    EXPECT_EQ(_T_ExistError(1, 1), 1);
    _T_CancelFileError(6);
    EXPECT_EQ(_T_ExistError(0, 1), 1);
    _T_CancelFileError(7);
    EXPECT_EQ(_T_ExistError(0, 1), 0);
    EXPECT_EQ(_T_ExistError(0, 0), 1);
    _T_ClearError();
    EXPECT_EQ(_T_ExistError(0, 0), 0);
    EXPECT_EQ(Prompt(), "");
}

std::atomic<int> g_hookCalls{0};
void RaisingHook(uint32_t code, const char *) {
    g_hookCalls++;
    _T_SetLastError(code + 1000, "raised inside the hook", nullptr, 0);
}

TEST_F(ErrorService, HookRaisingAnErrorIsNotReentered) {
    g_hookCalls = 0;
    T_SetErrorHook(RaisingHook);
    _T_SetLastError(11, "outer", nullptr, 0);
    EXPECT_EQ(g_hookCalls.load(), 1);
    EXPECT_EQ(_T_GetLastError(), 11u);
    EXPECT_EQ(Prompt(), "outer");
    _T_SetLastError(12, "again", nullptr, 0);
    EXPECT_EQ(g_hookCalls.load(), 2) << "the guard is released after the hook returns";
    EXPECT_EQ(T_SetErrorHook(nullptr), &RaisingHook);
    _T_SetLastError(13, "no hook", nullptr, 0);
    EXPECT_EQ(g_hookCalls.load(), 2);
}

TEST_F(ErrorService, PromptIsConvertedToTheWantedSet) {
    const std::string gb = vsgtest::Gb("磁盘已满");
    _T_SetLastErrorEx(5, gb.c_str(), T_CHARSET_GB18030, "/x/io", 4);
    char buf[64];
    EXPECT_EQ(std::string(_T_GetLastErrorPromptEx(buf, sizeof buf, T_CHARSET_UTF8)), "{4@io}磁盘已满");
    // Stored back in UTF-8: asking for GB18030 converts again.
    EXPECT_EQ(std::string(_T_GetLastErrorPromptEx(buf, sizeof buf, T_CHARSET_GB18030)), "{4@io}" + gb);

    // Unknown prompt set: declared and converted by the fix routine.
    _T_SetLastError(5, gb.c_str(), nullptr, 0);
    _T_FixLastErrorPrompt(T_CHARSET_GB18030, T_CHARSET_UTF8);
    EXPECT_EQ(Prompt(), "磁盘已满");
    _T_GetLastErrorPromptEx(buf, sizeof buf, T_CHARSET_GB18030);
    EXPECT_EQ(Prompt(), "磁盘已满") << "prompt set is unknown again after fixing";

    // The thread's default error set applies to charset 0.
    _T_SetErrorDefCharset(T_CHARSET_GB18030);
    _T_SetLastError(5, gb.c_str(), nullptr, 0);
    EXPECT_EQ(std::string(_T_GetLastErrorPromptEx(buf, sizeof buf, T_CHARSET_UTF8)), "磁盘已满");
    _T_SetErrorDefCharset(0);
}

// Records of threads created after the system set is changed take it as
// their thread set, which is the set prompts are given in by default.
TEST(ErrorServiceThreads, SystemCharsetReachesNewThreads) {
    _T_SetErrorSysCharset(T_CHARSET_UTF8, 1);
    std::string prompt;
    std::thread([&] {
        _T_SetLastErrorEx(5, vsgtest::Gb("错误").c_str(), T_CHARSET_GB18030, nullptr, 0);
        prompt = Prompt();
    }).join();
    _T_SetErrorSysCharset(0, 1);
    EXPECT_EQ(prompt, "错误");
}

TEST(ErrorServiceThreads, RecordsAreKeptPerThread) {
    std::atomic<int> failures{0};
    auto worker = [&](uint32_t base) {
        for (uint32_t i = 0; i < 2000; i++) {
            const std::string msg = "thread " + std::to_string(base) + " error " + std::to_string(i);
            _T_SetLastError(base + i, msg.c_str(), "/t/worker", static_cast<int32_t>(i));
            if (_T_GetLastError() != base + i ||
                Prompt() != "{" + std::to_string(i) + "@worker}" + msg)
                failures++;
            if (i % 100 == 0) _T_ClearError();
        }
    };
    std::thread a(worker, 100000), b(worker, 200000);
    a.join();
    b.join();
    EXPECT_EQ(failures.load(), 0);

    // A thread that ended took its record with it: a new thread starts clean
    // even where the thread identifier is reused.
    for (int i = 0; i < 20; i++) {
        std::thread([] { _T_SetLastError(77, "left behind", nullptr, 0); }).join();
        uint32_t seen = 1;
        std::thread([&] { seen = _T_GetLastError(); }).join();
        ASSERT_EQ(seen, 0u);
    }
}

TEST_F(ErrorService, ForkedChildStartsWithFreshRecords) {
    _T_SetLastError(21, "parent", nullptr, 0);
    // A second thread holds a record too; the child has none of them.
    std::thread holder([] { _T_SetLastError(22, "holder", nullptr, 0); });
    holder.join();
    const pid_t pid = fork();
    ASSERT_GE(pid, 0);
    if (pid == 0) {
        int status = 0;
        if (_T_GetLastError() != 0) status |= 1;
        _T_SetLastError(23, "child", nullptr, 0);
        if (_T_GetLastError() != 23 || Prompt() != "child") status |= 2;
        std::thread t([&] {  // the list mutex works in the child
            _T_SetLastError(24, "child thread", nullptr, 0);
            if (_T_GetLastError() != 24) status |= 4;
        });
        t.join();
        _exit(status);
    }
    int status = -1;
    ASSERT_EQ(waitpid(pid, &status, 0), pid);
    ASSERT_TRUE(WIFEXITED(status));
    EXPECT_EQ(WEXITSTATUS(status), 0);
    EXPECT_EQ(_T_GetLastError(), 21u);
    EXPECT_EQ(Prompt(), "parent");
}

}  // namespace
