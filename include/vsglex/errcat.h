/* Error service: every thread has one last-error record (a catalogue code,
 * file/core flags and a prompt of at most 255 bytes carrying the source
 * location, the operating-system error number and a message). The records
 * of all threads live in one process-wide list guarded by one mutex. */
#ifndef VSGLEX_ERRCAT_H
#define VSGLEX_ERRCAT_H

#include <stdint.h>

#include "vsglex/export.h"

VSGLEX_EXTERN_C_BEGIN

/* Catalogue codes recorded by the base runtime itself (docs/errors.md lists
 * the whole catalogue and the operating-system error table). */
#define T_ERR_INTERRUPTED 17000u   /* interrupted system call */
#define T_ERR_NO_MEMORY 17010u     /* out of memory */
#define T_ERR_TLS_START 17453u     /* thread-local instance service could not start */
#define T_ERR_TARGET_SMALL 17489u  /* conversion target buffer too small */
#define T_ERR_CONVERT 17490u       /* a character could not be converted */
#define T_ERR_BAD_ARGUMENT 17496u  /* invalid argument (the prompt names the place as "#mark") */

/* Longest prompt text in bytes (the record holds one more for the NUL). */
#define T_ERR_PROMPT_MAX 255

/* Error hook: called with the code and the message of every recorded error
 * (not for errors raised while the hook itself runs on the same thread). */
typedef void (*T_ErrorHook)(uint32_t code, const char *message);

/* Initialises the list mutex once and registers the fork handlers; runs when
 * the library is loaded. Before it the list is used without locking. */
VSGLEX_API void StartupErrorService(void);
/* Frees the records of all threads; runs when the library is unloaded. */
VSGLEX_API void CleanupErrorService(void);
/* Unlinks and frees the record of thread `threadId` (a pthread_t value). */
VSGLEX_API void DeleteThreadError(uint64_t threadId);
/* Fork handler: phase > 0 before fork locks the list, phase < 0 in the parent
 * unlocks it, phase 0 in the child unlocks it, frees all records and
 * re-initialises the mutex. */
VSGLEX_API void ForkErrorServiceAction(int32_t phase);

/* Records `code` with `message` for the calling thread; `sourceFile` and
 * `line` give the location block of the prompt (either may be null/0). */
VSGLEX_API void _T_SetLastError(uint32_t code, const char *message, const char *sourceFile, int32_t line);
/* As _T_SetLastError with the message held in set `charset` (0: the thread's
 * default error character set). */
VSGLEX_API void _T_SetLastErrorEx(uint32_t code, const char *message, uint32_t charset,
                                  const char *sourceFile, int32_t line);
/* As _T_SetLastError and sets the core-error flag. */
VSGLEX_API void _T_SetLastCoreError(uint32_t code, const char *message, const char *sourceFile, int32_t line);
/* As _T_SetLastError and sets the file-error flag. */
VSGLEX_API void _T_SetLastFileError(uint32_t code, const char *message, const char *sourceFile, int32_t line);
/* Records `code` with the message "#mark" (a numbered place in the code). */
VSGLEX_API void _T_SetLastMarkError(uint32_t code, uint32_t mark, const char *sourceFile, int32_t line);

/* Records an error together with the operating-system error number: when
 * the number translates to a catalogue code other than `code`, that code is
 * recorded without the number, else `code` with the number. Returns the code
 * recorded. */
VSGLEX_API uint32_t _T_CaptureError(uint32_t code, const char *message, const char *sourceFile, int32_t line);
/* As _T_CaptureError and sets the file-error flag. */
VSGLEX_API uint32_t _T_CaptureFileError(uint32_t code, const char *message, const char *sourceFile, int32_t line);
/* As _T_CaptureError and sets the core-error flag. */
VSGLEX_API uint32_t _T_CaptureCoreError(uint32_t code, const char *message, const char *sourceFile, int32_t line);

/* The operating-system error number (errno); for an interrupted call (4) the
 * thread first reaches a cancellation point. */
VSGLEX_API int32_t _T_GetSystemError(void);
/* Sets the operating-system error number to 0. */
VSGLEX_API void _T_ClearSystemError(void);
/* The catalogue code of operating-system error `number` (1-129), else 0. */
VSGLEX_API uint32_t _T_MapSystemError(int32_t number);

/* The calling thread's last error code (0: none). */
VSGLEX_API uint32_t _T_GetLastError(void);
/* 1 when `core` is non-zero and the core flag is set; else, when `file` is
 * non-zero, 1 if the file flag is set; else, with both 0, 1 if an error code
 * is recorded; otherwise 0. */
VSGLEX_API int32_t _T_ExistError(int32_t core, int32_t file);
/* Clears the file-error flag when `code` is 0 or the current error code. */
VSGLEX_API void _T_CancelFileError(uint32_t code);
/* Clears errno and, unless errors are locked, the thread's error record. */
VSGLEX_API void _T_ClearError(void);
/* Increases the thread's lock depth; while it is non-zero new errors and
 * clearing are ignored. */
VSGLEX_API void _T_LockupError(void);
/* Decreases the thread's lock depth (not below 0). */
VSGLEX_API void _T_UnlockError(void);

/* The thread's prompt in set `charset` (0: the thread character set),
 * converted and stored back when needed. With a null `buffer` returns the
 * stored prompt; with `size` > 1 copies it (shortened with "..." to size - 1
 * bytes) and returns `buffer`; with a smaller size returns "". */
VSGLEX_API const char *_T_GetLastErrorPromptEx(char *buffer, uint32_t size, uint32_t charset);
/* _T_GetLastErrorPromptEx with charset 0. */
VSGLEX_API const char *_T_GetLastErrorPrompt(char *buffer, uint32_t size);
/* Declares an unknown prompt set as `charset`, converts the prompt to
 * `wanted` when that differs, then marks the prompt set unknown again. */
VSGLEX_API void _T_FixLastErrorPrompt(uint32_t charset, uint32_t wanted);
/* Sets the thread's default error character set (for charset 0 above). */
VSGLEX_API void _T_SetErrorDefCharset(uint32_t charset);
/* With `global` non-zero sets the process-wide system character set given to
 * records created later; with 0 sets the calling thread's character set and
 * resets the process-wide one to 0. */
VSGLEX_API void _T_SetErrorSysCharset(uint32_t charset, int32_t global);
/* Installs the error hook (null removes it); returns the previous hook. */
VSGLEX_API T_ErrorHook T_SetErrorHook(T_ErrorHook hook);

VSGLEX_EXTERN_C_END

#endif /* VSGLEX_ERRCAT_H */
