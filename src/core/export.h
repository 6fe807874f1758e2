/* What every exported header needs: linkage, visibility and the no-exception promise. */
#ifndef VORN_CORE_EXPORT_H
#define VORN_CORE_EXPORT_H

/* These two stand around the declarations of a header and give them C linkage. */
#ifdef __cplusplus
#define VORN_BEGIN_DECLS extern "C" {
#define VORN_END_DECLS }
/* No exception leaves the agent's interface: plugins may be plain C. */
#define VORN_NOEXCEPT noexcept
#else
#define VORN_BEGIN_DECLS
#define VORN_END_DECLS
#define VORN_NOEXCEPT
#endif

/* Everything is compiled with hidden visibility; what carries this mark is the programming interface. */
#define VORN_API __attribute__((visibility("default")))

/* Lets the compiler check calls of a function like printf(3): the positions of its format and of the first
 * argument for it, counted from 1. */
#define VORN_PRINTF(text_position, first) __attribute__((__format__(__printf__, text_position, first)))

#endif
