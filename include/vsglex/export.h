/* Export and linkage macros shared by every public vsglex header. */
#ifndef VSGLEX_EXPORT_H
#define VSGLEX_EXPORT_H

/* The library is built with hidden visibility; only declarations marked
 * VSGLEX_API appear in the dynamic symbol table of libvsglex.so. */
#if defined(__GNUC__) || defined(__clang__)
#define VSGLEX_API __attribute__((visibility("default")))
#else
#define VSGLEX_API
#endif

#ifdef __cplusplus
#define VSGLEX_EXTERN_C_BEGIN extern "C" {
#define VSGLEX_EXTERN_C_END }
#else
#define VSGLEX_EXTERN_C_BEGIN
#define VSGLEX_EXTERN_C_END
#endif

#endif /* VSGLEX_EXPORT_H */
