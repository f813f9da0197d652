/* Progress of long jobs, for hosts that display it. */
#ifndef NORVANE_BASE_PROGRESS_H
#define NORVANE_BASE_PROGRESS_H

#include "norvane/base/export.h"

NORVANE_BEGIN_DECLS

/* The scope of a job. */
enum { MSG_PRGS_PROJECT = 0, MSG_PRGS_SUB_JOB = 1 };

/* An event: a job was opened or closed. */
typedef struct MsgProgress {
    int started;      /* 1 when the job was opened, 0 when it was closed */
    int job;          /* the handle, the same in both events of a job */
    int kind;         /* MSG_PRGS_PROJECT or MSG_PRGS_SUB_JOB; 0 when closed */
    const char* text; /* describes the job; borrowed; empty when closed */
    int status;       /* when closed: 0 for success, -1 for failure */
} MsgProgress;

/* Receives each event. The record and its text are borrowed for the duration of the call. */
typedef void (*MsgProgressSink)(const MsgProgress* progress, void* user);

/* Installs the progress sink. Null restores the default, which does nothing. */
NORVANE_BASE_API void msg_set_progress_sink(MsgProgressSink sink, void* user);

/* Opens a job with a text of at most 2047 bytes. */
NORVANE_BASE_API void msg_report_prgs_start(int kind, const char* format, ...) NORVANE_PRINTF(2, 3);

/* Returns the handle of the job that was opened last. Handles count up from 1. */
NORVANE_BASE_API int msg_get_progress_job(void);

/* Closes a job. `status` is 0 for success, -1 for failure. */
NORVANE_BASE_API void msg_report_prgs_stop(int job, int status);

NORVANE_END_DECLS

#endif
