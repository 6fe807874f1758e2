/* The event loop: readable sockets, one-shot timeouts and deferred signals, on one thread.
 *
 * One process-wide loop. Handlers may do anything at any moment: register and unregister readers, timeouts
 * and signals, their own included. Time is measured in clock ticks of times(2), usually hundredths of a
 * second. */
#ifndef VORN_CORE_ELOOP_H
#define VORN_CORE_ELOOP_H

#include "core/export.h"

VORN_BEGIN_DECLS

/* Called when `sock` is readable (data, end of stream, an error or a new connection). */
typedef void (*eloop_sock_handler)(int sock, void *eloop_data, void *user_data);

/* Called once, when its time has come. */
typedef void (*eloop_timeout_handler)(void *eloop_data, void *user_data);

/* Called from the loop, never in signal context, once for any number of deliveries since the last pass.
 * `loop_user_data` is what eloop_init got. */
typedef void (*eloop_signal_handler)(int sig, void *loop_user_data, void *user_data);

/* Starts with an empty loop; what was registered before is forgotten, not called. */
VORN_API void eloop_init(void *user_data) VORN_NOEXCEPT;

/* Calls `handler` whenever `sock` is readable, from the next pass of the loop on. The descriptor stays the
 * caller's. Returns 0, or -1 when the handler is null, memory runs out or select(2) cannot hold the
 * descriptor (negative, or FD_SETSIZE and above). */
VORN_API int eloop_register_read_sock(int sock, eloop_sock_handler handler, void *eloop_data,
                                      void *user_data) VORN_NOEXCEPT;

/* Forgets the first reader of `sock`; the rest of the running pass calls no further reader. Returns 0, or -1
 * when there is none. */
VORN_API int eloop_unregister_read_sock(int sock) VORN_NOEXCEPT;

/* Calls `handler` once, after `secs` seconds and `usecs` microseconds; fractions of a tick are dropped. Equal
 * times fire in the order of their registration. Returns 0, or -1 when the handler is null or memory runs
 * out.
 */
VORN_API int eloop_register_timeout(unsigned secs, unsigned usecs, eloop_timeout_handler handler,
                                    void *eloop_data, void *user_data) VORN_NOEXCEPT;

/* Forgets every timeout with this handler and these data; (void *)-1 for either matches any. Returns their
 * number. */
VORN_API int eloop_cancel_timeout(eloop_timeout_handler handler, void *eloop_data,
                                  void *user_data) VORN_NOEXCEPT;

/* Catches the signal and calls `handler` from the loop. SIGCHLD's handler also runs about once a minute
 * without a delivery, so that a lost one does no harm. Returns 0, or -1 when the handler is null, memory runs
 * out or the signal cannot be caught. */
VORN_API int eloop_register_signal(int sig, eloop_signal_handler handler, void *user_data) VORN_NOEXCEPT;

/* Runs until eloop_terminate, until no reader and no timeout is left, or until select(2) fails. */
VORN_API void eloop_run(void) VORN_NOEXCEPT;

/* Lets the loop end before its next wait. Returns 0. */
VORN_API int eloop_terminate(void) VORN_NOEXCEPT;

/* Returns 1 once eloop_terminate was called, else 0. */
VORN_API int eloop_terminated(void) VORN_NOEXCEPT;

/* Frees what is registered, without calling it. */
VORN_API void eloop_destroy(void) VORN_NOEXCEPT;

/* Returns what eloop_init got. */
VORN_API void *eloop_get_user_data(void) VORN_NOEXCEPT;

VORN_END_DECLS

#endif
