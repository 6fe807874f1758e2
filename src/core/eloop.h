/* The event loop: readable sockets, one-shot time-outs and deferred signals, on one thread.
 *
 * There is one loop for the whole process. Handlers may do anything at any moment: register and unregister
 * readers, time-outs and signals, their own included. They get the data that they were registered with, which
 * stays the caller's. Time is measured in clock ticks of times(2), usually hundredths of a second. */
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

/* Starts with an empty loop; whatever was registered before is removed without being called. `user_data` is
 * for signal handlers and eloop_get_user_data. */
VORN_API void eloop_init(void *user_data) VORN_NOEXCEPT;

/* Calls `handler` whenever `sock` is readable, from the next pass of the loop on. The descriptor stays the
 * caller's. Returns 0, or -1 when the handler is null, memory runs out or select(2) cannot hold the
 * descriptor (negative, or FD_SETSIZE and above). */
VORN_API int eloop_register_read_sock(int sock, eloop_sock_handler handler, void *eloop_data,
                                      void *user_data) VORN_NOEXCEPT;

/* Removes the first reader of `sock`, which must be done before the descriptor is closed. The other readers
 * are not called any more in the running pass; they come in the next one. Returns 0, or -1 when there is
 * none. */
VORN_API int eloop_unregister_read_sock(int sock) VORN_NOEXCEPT;

/* Calls `handler` once, after `secs` seconds and `usecs` microseconds; fractions of a tick are dropped.
 * Handlers that are due at the same tick are called in the order of their registration. Returns 0, or -1 when
 * the handler is null or memory runs out. */
VORN_API int eloop_register_timeout(unsigned secs, unsigned usecs, eloop_timeout_handler handler,
                                    void *eloop_data, void *user_data) VORN_NOEXCEPT;

/* Removes every time-out with this handler and these data; (void *)-1 for either matches any. Returns how
 * many there were. */
VORN_API int eloop_cancel_timeout(eloop_timeout_handler handler, void *eloop_data,
                                  void *user_data) VORN_NOEXCEPT;

/* Catches the signal and calls `handler` from the loop. Of several handlers of a signal only the one that was
 * registered first is told of deliveries. SIGCHLD's handler also runs about once a minute without a delivery,
 * so that a lost one does no harm. Returns 0, or -1 when the handler is null, memory runs out or the signal
 * cannot be caught. */
VORN_API int eloop_register_signal(int sig, eloop_signal_handler handler, void *user_data) VORN_NOEXCEPT;

/* Runs until eloop_terminate is called, until no reader and no time-out is left, or until select(2) fails,
 * which is reported on standard error. */
VORN_API void eloop_run(void) VORN_NOEXCEPT;

/* Ends the loop before its next wait, for good: only eloop_init allows another run. Returns 0. */
VORN_API int eloop_terminate(void) VORN_NOEXCEPT;

/* Returns 1 once eloop_terminate was called, else 0. */
VORN_API int eloop_terminated(void) VORN_NOEXCEPT;

/* Removes all readers, time-outs and signal handlers without calling them, and closes no descriptor. */
VORN_API void eloop_destroy(void) VORN_NOEXCEPT;

/* Returns what eloop_init got, initially null. */
VORN_API void *eloop_get_user_data(void) VORN_NOEXCEPT;

VORN_END_DECLS

#endif
