// Thread-local instances keyed by variable address: a table of threads in
// blocks of 32 slots, each slot holding the thread's list of variables in
// nodes of 32 entries. A thread key's destructor releases a thread's
// instances when it ends.
#include "vsglex/tlsinst.h"

#include <pthread.h>
#include <string.h>

#include <atomic>

#include "vsglex/errcat.h"
#include "vsglex/memext.h"

namespace {

constexpr int kSlots = 32;

struct VarEntry {
    const void *variable;  // null: free entry
    int64_t value;
    T_TLSRelease release;
};

struct VarNode {
    int16_t count;  // entries in use
    VarEntry entries[kSlots];
    VarNode *next;
};

struct ThreadSlot {
    uint8_t active;
    uint64_t threadId;
    VarNode *vars;
};

struct ThreadBlock {
    int16_t count;  // active slots
    ThreadSlot slots[kSlots];
    ThreadBlock *next;
};

pthread_mutex_t g_mutex = PTHREAD_MUTEX_INITIALIZER;
ThreadBlock *g_table = nullptr;
pthread_once_t g_startOnce = PTHREAD_ONCE_INIT;
bool g_started = false;
pthread_key_t g_exitKey;
std::atomic<bool> g_exitKeyReady{false};

void ThreadEnded(void *) { _T_FreeTLSInst(nullptr, nullptr); }

void StartOnce() {
    // The key is optional: without it instances live until freed explicitly.
    if (pthread_key_create(&g_exitKey, ThreadEnded) == 0) g_exitKeyReady.store(true);
    // The table mutex must not stay locked in a child forked while another
    // thread held it.
    pthread_atfork([] { pthread_mutex_lock(&g_mutex); }, [] { pthread_mutex_unlock(&g_mutex); },
                   [] {
                       pthread_mutex_unlock(&g_mutex);
                       pthread_mutex_destroy(&g_mutex);
                       pthread_mutex_init(&g_mutex, nullptr);
                   });
    g_started = true;
}

__attribute__((destructor)) void TlsServiceUnloaded() {
    // Threads that outlive an unloaded library must not run our destructor.
    if (g_exitKeyReady.exchange(false)) pthread_key_delete(g_exitKey);
}

bool Start() { return pthread_once(&g_startOnce, StartOnce) == 0 && g_started; }

// The calling thread's slot; with `create`, one is taken (or a block added)
// when the thread has none. Call with the mutex held. Null when absent or
// out of memory.
ThreadSlot *FindThread(uint64_t self, bool create) {
    ThreadSlot *freeSlot = nullptr;
    ThreadBlock *block = g_table;
    ThreadBlock *last = nullptr;
    for (; block; last = block, block = block->next) {
        for (ThreadSlot &slot : block->slots) {
            if (slot.active && slot.threadId == self) return &slot;
            if (!slot.active && !freeSlot && block->count < kSlots) freeSlot = &slot;
        }
    }
    if (!create) return nullptr;
    if (!freeSlot) {
        auto *added = static_cast<ThreadBlock *>(_T_MemAlloc(sizeof(ThreadBlock), 1));
        if (!added) return nullptr;
        if (last) last->next = added;
        else g_table = added;
        freeSlot = &added->slots[0];
    }
    // The block owning the slot counts it.
    for (block = g_table; block; block = block->next) {
        if (freeSlot >= block->slots && freeSlot < block->slots + kSlots) {
            block->count++;
            break;
        }
    }
    freeSlot->active = 1;
    freeSlot->threadId = self;
    freeSlot->vars = nullptr;
    return freeSlot;
}

VarEntry *FindVar(ThreadSlot *slot, const void *variable) {
    for (VarNode *node = slot->vars; node; node = node->next) {
        if (node->count == 0) continue;
        for (VarEntry &e : node->entries)
            if (e.variable == variable) return &e;
    }
    return nullptr;
}

// Looks up the calling thread's instance of `variable`; 1 found, 0 not set.
int LookUp(const void *variable, int64_t *value) {
    const uint64_t self = static_cast<uint64_t>(pthread_self());
    int found = 0;
    pthread_mutex_lock(&g_mutex);
    if (ThreadSlot *slot = FindThread(self, false)) {
        if (VarEntry *e = FindVar(slot, variable)) {
            *value = e->value;
            found = 1;
        }
    }
    pthread_mutex_unlock(&g_mutex);
    return found;
}

}  // namespace

extern "C" {

int32_t _T_GetTLSInst(const void *variable, int64_t *value) {
    if (!variable || !value) {
        _T_SetLastMarkError(T_ERR_BAD_ARGUMENT, 51, __FILE__, __LINE__);
        return 0;
    }
    if (!Start()) {
        _T_SetLastError(T_ERR_TLS_START, "thread-local instances unavailable", __FILE__, __LINE__);
        return 0;
    }
    if (!LookUp(variable, value)) memcpy(value, variable, sizeof *value);
    return 1;
}

int64_t _T_GetTLSInstPtr(const void *variable) {
    if (!variable) {
        _T_SetLastMarkError(T_ERR_BAD_ARGUMENT, 52, __FILE__, __LINE__);
        return -1;
    }
    int64_t value = -1;
    return _T_GetTLSInst(variable, &value) ? value : -1;
}

int32_t _T_SetTLSInst(const void *variable, int64_t value, T_TLSRelease release) {
    if (!variable) {
        _T_SetLastMarkError(T_ERR_BAD_ARGUMENT, 50, __FILE__, __LINE__);
        return 0;
    }
    if (!Start()) {
        _T_SetLastError(T_ERR_TLS_START, "thread-local instances unavailable", __FILE__, __LINE__);
        return 0;
    }
    const uint64_t self = static_cast<uint64_t>(pthread_self());
    bool ok = false;
    pthread_mutex_lock(&g_mutex);
    if (ThreadSlot *slot = FindThread(self, true)) {
        if (VarEntry *e = FindVar(slot, variable)) {
            // A replaced value is the caller's to release: routines run only
            // when the thread's instances are freed.
            e->value = value;
            e->release = release;
            ok = true;
        } else {
            // First free entry of the list, else a new node at its end.
            VarEntry *free = nullptr;
            VarNode *holder = nullptr;
            VarNode **tail = &slot->vars;
            for (VarNode *node = slot->vars; node && !free; node = node->next) {
                if (node->count < kSlots) {
                    for (VarEntry &c : node->entries) {
                        if (!c.variable) {
                            free = &c;
                            holder = node;
                            break;
                        }
                    }
                }
                tail = &node->next;
            }
            if (!free) {
                holder = static_cast<VarNode *>(_T_MemAlloc(sizeof(VarNode), 1));
                if (holder) {
                    *tail = holder;
                    free = &holder->entries[0];
                }
            }
            if (free) {
                free->variable = variable;
                free->value = value;
                free->release = release;
                holder->count++;
                ok = true;
            }
        }
    }
    pthread_mutex_unlock(&g_mutex);
    // A non-null key value makes the thread's instances go when it ends.
    if (ok && g_exitKeyReady.load() && !pthread_getspecific(g_exitKey)) pthread_setspecific(g_exitKey, &g_table);
    return ok ? 1 : 0;
}

void _T_FreeTLSInst(const void *variable, uint64_t *threadId) {
    (void)variable;
    const uint64_t self = static_cast<uint64_t>(pthread_self());
    if (threadId) *threadId = self;
    if (!Start()) return;
    // Detach the thread's list under the mutex, release it outside so that
    // release routines may use the service again.
    VarNode *released = nullptr;
    pthread_mutex_lock(&g_mutex);
    for (ThreadBlock *block = g_table; block && !released; block = block->next) {
        for (ThreadSlot &slot : block->slots) {
            if (slot.active && slot.threadId == self) {
                released = slot.vars;
                slot.vars = nullptr;
                slot.active = 0;
                slot.threadId = 0;
                block->count--;
                break;
            }
        }
    }
    pthread_mutex_unlock(&g_mutex);
    while (released) {
        for (VarEntry &e : released->entries)
            if (e.variable && e.release) e.release(e.variable, e.value);
        VarNode *next = released->next;
        _T_MemFree(released);
        released = next;
    }
}

}  // extern "C"
