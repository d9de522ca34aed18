/* Thread-local instances: a process-wide variable of the runtime carries a
 * separate value for each thread, keyed by the variable's address. A
 * thread's instances are released when it ends. */
#ifndef VSGLEX_TLSINST_H
#define VSGLEX_TLSINST_H

#include <stdint.h>

#include "vsglex/export.h"

VSGLEX_EXTERN_C_BEGIN

/* Release routine of an instance: called with the variable's address and the
 * thread's value when the instance is removed (thread end or _T_FreeTLSInst). */
typedef void (*T_TLSRelease)(const void *variable, int64_t value);

/* Stores in `*value` the calling thread's instance of `variable`, or, when
 * the thread set none, the variable's process-wide value (`variable` points
 * to an 8-byte object: int64_t, uint64_t or a pointer). Returns 1, or 0 after
 * recording an error (null argument: 17496; service not started: 17453). */
VSGLEX_API int32_t _T_GetTLSInst(const void *variable, int64_t *value);
/* The calling thread's value of `variable` as _T_GetTLSInst gives it, or -1
 * after recording an error. */
VSGLEX_API int64_t _T_GetTLSInstPtr(const void *variable);
/* Sets the calling thread's instance of `variable` to `value` with an
 * optional release routine, which runs only when the thread's instances are
 * freed (_T_FreeTLSInst or thread end); replacing a value releases nothing
 * and the latest routine applies. Returns 1, or 0 after recording an error. */
VSGLEX_API int32_t _T_SetTLSInst(const void *variable, int64_t value, T_TLSRelease release);
/* Removes all instances of the calling thread, calling each release routine
 * in the order the instances were set, and frees the thread's slot; stores
 * the thread identifier in `*threadId` (if not null). `variable` is not used
 * (the thread-exit destructor passes its key value there). */
VSGLEX_API void _T_FreeTLSInst(const void *variable, uint64_t *threadId);

VSGLEX_EXTERN_C_END

#endif /* VSGLEX_TLSINST_H */
