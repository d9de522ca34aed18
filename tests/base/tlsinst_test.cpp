// Thread-local instances: values per thread, fallback to the process-wide
// value, release routines on free and at thread exit, many threads and
// variables at once.
#include <pthread.h>

#include <atomic>
#include <condition_variable>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "vsglex/errcat.h"
#include "vsglex/tlsinst.h"

namespace {

std::atomic<int64_t> g_releasedSum{0};
std::atomic<int> g_releasedCount{0};
void CountRelease(const void *, int64_t value) {
    g_releasedSum += value;
    g_releasedCount++;
}

TEST(TLSInstThreads, ValuesPerThreadAndReleaseAtExit) {
    static int64_t shared = 7;
    g_releasedSum = 0;
    g_releasedCount = 0;
    EXPECT_EQ(_T_GetTLSInstPtr(&shared), 7);

    std::vector<std::thread> threads;
    std::atomic<int> wrong{0};
    for (int64_t t = 1; t <= 4; t++) {
        threads.emplace_back([t, &wrong] {
            int64_t value = 0;
            if (!_T_GetTLSInst(&shared, &value) || value != 7) wrong++;  // not set yet
            for (int i = 0; i < 200; i++) {
                if (_T_SetTLSInst(&shared, t * 1000 + i, CountRelease) != 1) wrong++;
                if (_T_GetTLSInstPtr(&shared) != t * 1000 + i) wrong++;
            }
        });
    }
    for (auto &th : threads) th.join();
    EXPECT_EQ(wrong.load(), 0);
    EXPECT_EQ(_T_GetTLSInstPtr(&shared), 7) << "the main thread never set an instance";
    // Replacements release nothing; each thread end releases its last value.
    EXPECT_EQ(g_releasedCount.load(), 4);
    EXPECT_EQ(g_releasedSum.load(), 1199 + 2199 + 3199 + 4199);
}

TEST(TLSInstThreads, ManyThreadsAndVariablesAtOnce) {
    constexpr int kThreads = 40, kVars = 40;  // more than one block and node of 32
    static int64_t vars[kVars];
    for (int v = 0; v < kVars; v++) vars[v] = -v;
    std::mutex m;
    std::condition_variable cv;
    int ready = 0;
    std::atomic<int> wrong{0};
    g_releasedCount = 0;
    std::vector<std::thread> threads;
    for (int t = 0; t < kThreads; t++) {
        threads.emplace_back([&, t] {
            for (int v = 0; v < kVars; v++)
                if (_T_SetTLSInst(&vars[v], t * 100 + v, CountRelease) != 1) wrong++;
            {  // every thread holds its instances while the others set theirs
                std::unique_lock<std::mutex> lock(m);
                ready++;
                cv.notify_all();
                cv.wait(lock, [&] { return ready == kThreads; });
            }
            for (int v = 0; v < kVars; v++)
                if (_T_GetTLSInstPtr(&vars[v]) != t * 100 + v) wrong++;
            // Replacing one value releases nothing; the new one has no routine.
            if (_T_SetTLSInst(&vars[3], 5, nullptr) != 1 || _T_GetTLSInstPtr(&vars[3]) != 5) wrong++;
        });
    }
    for (auto &th : threads) th.join();
    EXPECT_EQ(wrong.load(), 0);
    // Released at exit: each thread's 39 values that kept a routine.
    EXPECT_EQ(g_releasedCount.load(), kThreads * (kVars - 1));
}

TEST(TLSInst, FreeAndArgumentErrors) {
    static int64_t a = 1, b = 2;
    g_releasedSum = 0;
    g_releasedCount = 0;
    ASSERT_EQ(_T_SetTLSInst(&a, 10, CountRelease), 1);
    ASSERT_EQ(_T_SetTLSInst(&b, 5, CountRelease), 1);
    ASSERT_EQ(_T_SetTLSInst(&b, 20, CountRelease), 1);  // replaced: nothing released yet
    ASSERT_EQ(_T_SetTLSInst(&b, 20, CountRelease), 1);
    EXPECT_EQ(g_releasedCount.load(), 0);
    EXPECT_EQ(_T_GetTLSInstPtr(&b), 20);
    uint64_t id = 0;
    _T_FreeTLSInst(&a, &id);  // all of the thread's instances go, current values only
    EXPECT_EQ(id, static_cast<uint64_t>(pthread_self()));
    EXPECT_EQ(g_releasedCount.load(), 2);
    EXPECT_EQ(g_releasedSum.load(), 30);
    EXPECT_EQ(_T_GetTLSInstPtr(&a), 1);
    EXPECT_EQ(_T_GetTLSInstPtr(&b), 2);
    _T_FreeTLSInst(nullptr, nullptr);  // nothing left: harmless

    _T_ClearError();
    int64_t value = 0;
    EXPECT_EQ(_T_GetTLSInst(nullptr, &value), 0);
    EXPECT_EQ(_T_GetLastError(), T_ERR_BAD_ARGUMENT);
    std::string prompt = _T_GetLastErrorPrompt(nullptr, 0);
    EXPECT_EQ(prompt.substr(prompt.size() - 3), "#51");
    EXPECT_EQ(_T_GetTLSInstPtr(nullptr), -1);
    EXPECT_EQ(_T_SetTLSInst(nullptr, 1, nullptr), 0);
    prompt = _T_GetLastErrorPrompt(nullptr, 0);
    EXPECT_EQ(prompt.substr(prompt.size() - 3), "#50");
    _T_ClearError();
}

}  // namespace
