/* Linkage of the base library's public names. Every header of norvane_base includes this one. */
#ifndef NORVANE_BASE_EXPORT_H
#define NORVANE_BASE_EXPORT_H

#define NORVANE_BASE_API __attribute__((visibility("default")))

#ifdef __cplusplus
#define NORVANE_BEGIN_DECLS extern "C" {
#define NORVANE_END_DECLS }
#else
#define NORVANE_BEGIN_DECLS
#define NORVANE_END_DECLS
#endif

/* In the older form, because C++ allows [[noreturn]] only before the attribute above. */
#define NORVANE_NORETURN __attribute__((noreturn))

/* Lets the compiler check the arguments of functions that format like printf. */
#define NORVANE_PRINTF(format_index, first_argument)                                               \
    __attribute__((format(printf, format_index, first_argument)))

/* Results of functions that return a status. A failure is non-zero, usually STATUS_FAILURE. */
#define STATUS_SUCCESS 0
#define STATUS_FAILURE (-1)

#endif
