/**
 * @file executor.h
 * @brief Callbacks on threads of the application's own: in its event loop, or on its pool.
 */
#ifndef TNX_C_EXT_EXECUTOR_H
#define TNX_C_EXT_EXECUTOR_H

#include "tnx_c/session.h"

TNX_BEGIN_DECLS

/**
 * Takes a task: a loop or pool of the application's calls `run(task)` soon, exactly once, on
 * whatever thread. Called on a thread of the library, by several at once, with no lock held, and
 * not any more once the session is closed. It must not wait for a thread that closes the session.
 * What is taken must be run even after the close: then it calls nothing, and frees its memory.
 * @param usrCtx What OVX_Tnx_SetSessionExecutor was given.
 * @return True when the task is taken. False (there is no memory, the loop has ended): the library
 * runs it on the calling thread, so that nothing is lost.
 */
typedef bool (*Tnx_PostCallback)(void *usrCtx, void (*run)(void *task), void *task);

/**
 * Says where the callbacks of a session's asynchronous fetches run, in place of threads of the
 * library. In order and one at a time for one request they stay, on however many threads tasks are
 * run; a task may have several callbacks of one request in it. What a cancel calls, and callbacks
 * of synchronous fetches, run on the calling thread as ever. Borrows `usrCtx` until the session is
 * closed, which works on the threads of the executor too: it does not wait for tasks that have yet
 * to run.
 *
 * In a forked child, sessions of the parent do without it.
 * @return TNX_OK; TNX_ERR_SESSION_CLOSED; or TNX_ERR_PARAMETER for a null `post`, after the first
 * fetch of the session, and for session types of the application's own.
 */
TNX_API uint32_t OVX_Tnx_SetSessionExecutor(Tnx_Session *session, Tnx_PostCallback post,
                                            void *usrCtx) TNX_NOEXCEPT;

TNX_END_DECLS

#endif
