// Error service: one last-error record per thread, kept in a process-wide
// list under one mutex, with prompts that carry the source location, the
// operating-system error number and the message.
#include "vsglex/errcat.h"

#include <errno.h>
#include <pthread.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include <atomic>

#include "vsglex/charset.h"

namespace {

struct ThreadError {
    ThreadError *prev;
    ThreadError *next;
    uint64_t threadId;
    uint64_t lockDepth;        // while non-zero new errors are ignored
    uint32_t promptCharset;    // set the prompt is held in, 0 = not known
    uint32_t threadCharset;    // taken from the system set at creation
    uint32_t defCharset;       // set of messages recorded with charset 0
    int32_t fileFlag;
    int32_t coreFlag;
    int32_t hookRunning;       // re-entry guard of the hook
    uint32_t code;
    char prompt[T_ERR_PROMPT_MAX + 1];
};

pthread_mutex_t g_mutex = PTHREAD_MUTEX_INITIALIZER;
std::atomic<bool> g_mutexReady{false};
bool g_forkLocked = false;
ThreadError *g_list = nullptr;
std::atomic<uint32_t> g_sysCharset{0};
std::atomic<T_ErrorHook> g_hook{nullptr};
// Used when no record of the thread's own can be had; keeps no prompt.
ThreadError g_fallback;
pthread_once_t g_startOnce = PTHREAD_ONCE_INIT;
pthread_key_t g_exitKey;
std::atomic<bool> g_exitKeyReady{false};

// Catalogue code of each operating-system error number 1-129 (0: none).
// docs/errors.md lists the catalogue.
constexpr uint32_t kSystemErrors[130] = {
    0,
    17037, 17007, 17038, 17000, 17039, 17040, 17041, 17042, 17001, 17043,  //   1-10
    17200, 17010, 17002, 17044, 0,     17045, 17035, 17046, 17047, 17048,  //  11-20
    17049, 17004, 17050, 17051, 17052, 17053, 17054, 17028, 17055, 17056,  //  21-30
    17057, 17058, 17059, 17060, 17061, 17062, 17063, 17064, 17065, 17066,  //  31-40
    0,     17067, 17068, 0,     0,     0,     0,     0,     0,     0,      //  41-50
    0,     0,     0,     0,     0,     0,     0,     0,     0,     0,      //  51-60
    17069, 17070, 0,     0,     0,     0,     0,     0,     0,     0,      //  61-70
    17071, 0,     0,     17072, 17073, 0,     17001, 0,     0,     0,      //  71-80
    0,     0,     0,     17074, 17000, 0,     0,     17075, 0,     17076,  //  81-90
    0,     0,     17077, 17077, 17077, 17077, 17077, 17079, 17080, 17081,  //  91-100
    17082, 17084, 17083, 17084, 17085, 17086, 17087, 0,     0,     17088,  // 101-110
    17089, 17090, 17090, 17091, 17092, 17093, 0,     0,     0,     0,      // 111-120
    17039, 17028, 17047, 0,     17094, 0,     0,     0,     0,              // 121-129
};
static_assert(sizeof(kSystemErrors) / sizeof(kSystemErrors[0]) == 130, "one entry per number 0-129");

void ThreadEnded(void *) { DeleteThreadError(static_cast<uint64_t>(pthread_self())); }

void StartOnce() {
    // The mutex is statically initialised; it is used from here on.
    pthread_atfork([] { ForkErrorServiceAction(1); }, [] { ForkErrorServiceAction(-1); },
                   [] { ForkErrorServiceAction(0); });
    if (pthread_key_create(&g_exitKey, ThreadEnded) == 0) g_exitKeyReady.store(true);
    g_mutexReady.store(true, std::memory_order_release);
}

ThreadError *UseFallback(uint64_t self) {
    memset(static_cast<void *>(&g_fallback), 0, sizeof g_fallback);
    g_fallback.threadId = self;
    g_fallback.threadCharset = g_sysCharset.load();
    errno = 0;
    return &g_fallback;
}

void FreeList(ThreadError *list) {
    while (list) {
        ThreadError *next = list->next;
        free(list);
        list = next;
    }
}

// The calling thread's record, created on first use. Leaves errno as it was
// (except on the fallback path).
ThreadError *FindRecord() {
    const int savedErrno = errno;
    const uint64_t self = static_cast<uint64_t>(pthread_self());
    const bool locking = g_mutexReady.load(std::memory_order_acquire);
    if (locking && pthread_mutex_lock(&g_mutex) != 0) return UseFallback(self);
    ThreadError *r = g_list;
    while (r && r->threadId != self) r = r->next;
    bool created = false;
    if (!r) {
        r = static_cast<ThreadError *>(calloc(1, sizeof(ThreadError)));
        if (r) {
            r->next = g_list;
            if (g_list) g_list->prev = r;
            g_list = r;
            r->threadId = self;
            r->threadCharset = g_sysCharset.load();
            created = true;
        }
    }
    if (locking) pthread_mutex_unlock(&g_mutex);
    if (!r) return UseFallback(self);
    // A non-null key value makes the thread's record go when the thread ends.
    if (created && g_exitKeyReady.load()) pthread_setspecific(g_exitKey, r);
    errno = savedErrno;
    return r;
}

// Bytes of the character at `p` (at most `left`) in set `charset`.
size_t CharBytes(const unsigned char *p, size_t left, uint32_t charset) {
    size_t n = 1;
    if (p[0] >= 0x80) {
        if (charset == T_CHARSET_UTF8) {
            n = p[0] >= 0xF0 ? 4 : p[0] >= 0xE0 ? 3 : p[0] >= 0xC0 ? 2 : 1;
            for (size_t i = 1; i < n; i++) {
                if (i >= left || (p[i] & 0xC0) != 0x80) {
                    n = i;
                    break;
                }
            }
        } else if (charset == T_CHARSET_GB18030) {
            n = (left >= 4 && p[1] >= '0' && p[1] <= '9') ? 4 : 2;
        } else if (charset == T_CHARSET_BIG5) {
            n = 2;
        }
    }
    return n < left ? n : left;
}

// Writes `src` (`len` bytes) into `dst` as at most `max` bytes: whole when it
// fits, else the longest run of whole characters followed by "...". Returns
// the bytes written; `dst` is NUL-terminated.
size_t CopyShortened(char *dst, const char *src, size_t len, size_t max, uint32_t charset) {
    if (len <= max) {
        memcpy(dst, src, len);
        dst[len] = '\0';
        return len;
    }
    const size_t mark = max >= 3 ? 3 : 0;
    const size_t keep = max - mark;
    const auto *p = reinterpret_cast<const unsigned char *>(src);
    size_t n = 0;
    while (n < len) {
        const size_t c = CharBytes(p + n, len - n, charset);
        if (n + c > keep) break;
        n += c;
    }
    memcpy(dst, src, n);
    memcpy(dst + n, "...", mark);
    dst[n + mark] = '\0';
    return n + mark;
}

// "{" digits then "@" or "}": the message carries its own location block.
bool HasLocationBlock(const char *message) {
    if (message[0] != '{') return false;
    size_t i = 1;
    while (message[i] >= '0' && message[i] <= '9') i++;
    return i > 1 && (message[i] == '@' || message[i] == '}');
}

void Record(uint32_t code, const char *message, int32_t core, int32_t file, unsigned long sysNumber,
            uint32_t charset, const char *sourceFile, int32_t line) {
    errno = 0;
    ThreadError *r = FindRecord();
    if (r->lockDepth != 0) return;
    if (T_ErrorHook hook = g_hook.load()) {
        if (r->hookRunning) return;
        r->hookRunning = 1;
        hook(code, message);
        r = FindRecord();  // the hook may have dropped the record
        r->hookRunning = 0;
    }
    if (charset == 0) charset = r->defCharset;
    r->promptCharset = charset;
    r->fileFlag = file;
    r->code = code;
    r->coreFlag = core;
    if (r == &g_fallback) return;

    char *prompt = r->prompt;
    memset(prompt, 0, sizeof r->prompt);
    const bool valid = message != nullptr && message[0] != '\0';
    const size_t msgLen = valid ? strlen(message) : 0;
    const uint32_t cutSet = charset ? charset : r->threadCharset ? r->threadCharset : T_CHARSET_GB18030;
    size_t pos = 0;
    if (!(valid && HasLocationBlock(message))) {
        const char *name = sourceFile;
        if (name) {
            const char *slash = strrchr(name, '/');
            if (slash) name = slash + 1;
        }
        char close[32];
        if (sysNumber != 0)
            snprintf(close, sizeof close, ",%lu}", sysNumber);
        else
            snprintf(close, sizeof close, "}");
        if (name && name[0] != '\0') {
            pos = static_cast<size_t>(snprintf(prompt, sizeof r->prompt, "{%d@", line));
            size_t limit = 256;
            if (valid) limit = msgLen + 64 > 240 ? 64 : 240 - msgLen;
            const size_t room = T_ERR_PROMPT_MAX - pos - strlen(close);
            if (limit > room) limit = room;
            pos += CopyShortened(prompt + pos, name, strlen(name), limit, cutSet);
            memcpy(prompt + pos, close, strlen(close) + 1);
            pos += strlen(close);
        } else if (sysNumber != 0) {
            pos = static_cast<size_t>(snprintf(prompt, sizeof r->prompt, "{%lu}", sysNumber));
        }
    }
    if (!valid) return;
    CopyShortened(prompt + pos, message, msgLen, T_ERR_PROMPT_MAX - pos, cutSet);
}

uint32_t Capture(uint32_t code, const char *message, int32_t core, int32_t file, const char *sourceFile,
                 int32_t line) {
    const int32_t number = _T_GetSystemError();
    const uint32_t mapped = _T_MapSystemError(number);
    if (mapped != 0 && mapped != code) {
        Record(mapped, message, core, file, 0, 0, sourceFile, line);
        return mapped;
    }
    Record(code, message, core, file, number > 0 ? static_cast<unsigned long>(number) : 0, 0, sourceFile,
           line);
    return code;
}

// Converts the stored prompt into `wanted` when both sets are known and
// differ; a conversion that does not complete keeps what was converted and
// ends it with "...".
void ConvertPrompt(ThreadError *r, uint32_t wanted) {
    if (wanted == 0 || r->promptCharset == 0 || wanted == r->promptCharset) return;
    char converted[T_ERR_PROMPT_MAX + 1];
    memset(converted, 0, sizeof converted);
    const int64_t n = _T_TranslateText(r->prompt, r->promptCharset, converted, wanted, 0, 252);
    converted[251] = '\0';
    if (n <= 0) {
        const size_t len = strlen(converted);
        memcpy(converted + len, "...", 4);
    }
    memcpy(r->prompt, converted, sizeof converted);
    r->promptCharset = wanted;
}

__attribute__((constructor)) void ErrorServiceLoaded() { StartupErrorService(); }

__attribute__((destructor)) void ErrorServiceUnloaded() {
    CleanupErrorService();
    // Threads that outlive an unloaded library must not run our destructor.
    if (g_exitKeyReady.exchange(false)) pthread_key_delete(g_exitKey);
}

}  // namespace

extern "C" {

void StartupErrorService(void) { pthread_once(&g_startOnce, StartOnce); }

void CleanupErrorService(void) {
    const bool locking = g_mutexReady.load(std::memory_order_acquire);
    if (locking) pthread_mutex_lock(&g_mutex);
    ThreadError *list = g_list;
    g_list = nullptr;
    if (locking) pthread_mutex_unlock(&g_mutex);
    FreeList(list);
}

void DeleteThreadError(uint64_t threadId) {
    const bool locking = g_mutexReady.load(std::memory_order_acquire);
    if (locking) pthread_mutex_lock(&g_mutex);
    ThreadError *r = g_list;
    while (r && r->threadId != threadId) r = r->next;
    if (r) {
        if (r->prev) r->prev->next = r->next;
        else g_list = r->next;
        if (r->next) r->next->prev = r->prev;
    }
    if (locking) pthread_mutex_unlock(&g_mutex);
    free(r);
}

void ForkErrorServiceAction(int32_t phase) {
    if (phase > 0) {
        g_forkLocked = g_mutexReady.load(std::memory_order_acquire) && pthread_mutex_lock(&g_mutex) == 0;
        return;
    }
    if (g_forkLocked) pthread_mutex_unlock(&g_mutex);
    g_forkLocked = false;
    if (phase < 0) return;
    // Child: only the forking thread exists; its state starts afresh.
    ThreadError *list = g_list;
    g_list = nullptr;
    FreeList(list);
    pthread_mutex_destroy(&g_mutex);
    pthread_mutex_init(&g_mutex, nullptr);
}

void _T_SetLastError(uint32_t code, const char *message, const char *sourceFile, int32_t line) {
    Record(code, message, 0, 0, 0, 0, sourceFile, line);
}

void _T_SetLastErrorEx(uint32_t code, const char *message, uint32_t charset, const char *sourceFile,
                       int32_t line) {
    Record(code, message, 0, 0, 0, charset, sourceFile, line);
}

void _T_SetLastCoreError(uint32_t code, const char *message, const char *sourceFile, int32_t line) {
    Record(code, message, 1, 0, 0, 0, sourceFile, line);
}

void _T_SetLastFileError(uint32_t code, const char *message, const char *sourceFile, int32_t line) {
    Record(code, message, 0, 1, 0, 0, sourceFile, line);
}

void _T_SetLastMarkError(uint32_t code, uint32_t mark, const char *sourceFile, int32_t line) {
    char message[16];
    snprintf(message, sizeof message, "#%u", mark);
    Record(code, message, 0, 0, 0, 0, sourceFile, line);
}

uint32_t _T_CaptureError(uint32_t code, const char *message, const char *sourceFile, int32_t line) {
    return Capture(code, message, 0, 0, sourceFile, line);
}

uint32_t _T_CaptureFileError(uint32_t code, const char *message, const char *sourceFile, int32_t line) {
    return Capture(code, message, 0, 1, sourceFile, line);
}

uint32_t _T_CaptureCoreError(uint32_t code, const char *message, const char *sourceFile, int32_t line) {
    return Capture(code, message, 1, 0, sourceFile, line);
}

int32_t _T_GetSystemError(void) {
    const int number = errno;
    if (number == EINTR) {
        pthread_testcancel();
        errno = number;
    }
    return number;
}

void _T_ClearSystemError(void) { errno = 0; }

uint32_t _T_MapSystemError(int32_t number) {
    return number >= 1 && number <= 129 ? kSystemErrors[number] : 0;
}

uint32_t _T_GetLastError(void) { return FindRecord()->code; }

int32_t _T_ExistError(int32_t core, int32_t file) {
    const ThreadError *r = FindRecord();
    if (core && r->coreFlag) return 1;
    if (file) return r->fileFlag ? 1 : 0;
    if (!core) return r->code != 0 ? 1 : 0;
    return 0;
}

void _T_CancelFileError(uint32_t code) {
    ThreadError *r = FindRecord();
    if (code == 0 || code == r->code) r->fileFlag = 0;
}

void _T_ClearError(void) {
    errno = 0;
    ThreadError *r = FindRecord();
    if (r->lockDepth != 0) return;
    r->code = 0;
    r->prompt[0] = '\0';
    r->fileFlag = 0;
    r->coreFlag = 0;
    r->promptCharset = 0;
}

void _T_LockupError(void) {
    ThreadError *r = FindRecord();
    if (r->lockDepth != UINT64_MAX) r->lockDepth++;
}

void _T_UnlockError(void) {
    ThreadError *r = FindRecord();
    if (r->lockDepth != 0) r->lockDepth--;
}

const char *_T_GetLastErrorPromptEx(char *buffer, uint32_t size, uint32_t charset) {
    ThreadError *r = FindRecord();
    if (r == &g_fallback) {
        if (buffer && size >= 1) {
            buffer[0] = '\0';
            return buffer;
        }
        return "";
    }
    const uint32_t wanted = charset ? charset : r->threadCharset;
    ConvertPrompt(r, wanted);
    if (!buffer) return r->prompt;
    if (size > 1) {
        const uint32_t cutSet = wanted ? wanted : T_CHARSET_GB18030;
        CopyShortened(buffer, r->prompt, strlen(r->prompt), size - 1, cutSet);
        return buffer;
    }
    if (size == 1) {
        buffer[0] = '\0';
        return buffer;
    }
    return "";
}

const char *_T_GetLastErrorPrompt(char *buffer, uint32_t size) { return _T_GetLastErrorPromptEx(buffer, size, 0); }

void _T_FixLastErrorPrompt(uint32_t charset, uint32_t wanted) {
    ThreadError *r = FindRecord();
    if (r == &g_fallback) return;
    if (r->promptCharset == 0) r->promptCharset = charset;
    ConvertPrompt(r, wanted);
    r->promptCharset = 0;
}

void _T_SetErrorDefCharset(uint32_t charset) { FindRecord()->defCharset = charset; }

void _T_SetErrorSysCharset(uint32_t charset, int32_t global) {
    if (global) {
        g_sysCharset.store(charset);
        return;
    }
    FindRecord()->threadCharset = charset;
    g_sysCharset.store(0);
}

T_ErrorHook T_SetErrorHook(T_ErrorHook hook) { return g_hook.exchange(hook); }

}  // extern "C"
