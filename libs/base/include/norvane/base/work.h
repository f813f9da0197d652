/* What the library is working on: for a host that shows progress, stops a run, or tells after an
 * internal failure which declaration the library had reached.
 *
 * The library keeps one mark. A throw (norvane/base/except.h) leaves it as it is at that moment, so
 * the host that catches reads from it what the throw was about. */
#ifndef NORVANE_BASE_WORK_H
#define NORVANE_BASE_WORK_H

#include "norvane/base/export.h"

NORVANE_BEGIN_DECLS

/* What kind of declaration `subject` of a mark is. */
typedef enum WorkKind {
    WORK_NOTHING,  /* null */
    WORK_CONSTANT, /* ConstantDecl */
    WORK_TYPE,     /* TypeDecl */
    WORK_VARIABLE, /* VarDecl: a variable or a field of a record */
    WORK_RULE,     /* RuleDecl */
    WORK_FUNCTION  /* CFunc */
} WorkKind;

/* What is being worked on, and how far it is. */
typedef struct WorkMark {
    WorkKind kind;
    const void* subject;        /* the innermost declaration that is being worked on; borrowed */
    unsigned long long turn;    /* of the outermost loop or array that is being unfolded, from 0 */
    unsigned long long turns;   /* how many turns it has; 0 outside of loops and arrays */
    unsigned long long units;   /* steps since work_begin: nodes made, turns taken */
    unsigned long long watched; /* the value of `units` at which the watch is called next */
} WorkMark;

/* The mark. Hosts read it; only the library and work_begin write it. */
NORVANE_BASE_API extern WorkMark work_mark;

/* Is called every few thousand units, which is every few milliseconds at most. The mark is
 * borrowed. A watch that wants to end the run throws EXCEPT_STOPPED by except_throw. */
typedef void (*WorkWatch)(const WorkMark* mark, void* user);

/* Installs the watch. Null, the default, is none. */
NORVANE_BASE_API void work_set_watch(WorkWatch watch, void* user);

/* Clears the mark. A host calls it before a step whose progress or failure it wants to tell. */
NORVANE_BASE_API void work_begin(void);

/* Calls the watch, for norvane::work_units. */
NORVANE_BASE_API void work_call_watch(void);

NORVANE_END_DECLS

#ifdef __cplusplus
namespace norvane {

/* Counts steps of work. A watch may throw out of it. */
inline void work_units(unsigned count) {
    if ((work_mark.units += count) >= work_mark.watched) work_call_watch();
}

/* Marks a declaration as the one that is being worked on, for the length of a block. */
class WorkingOn {
  public:
    WorkingOn(WorkKind kind, const void* subject)
        : kind_(work_mark.kind), subject_(work_mark.subject) {
        work_mark.kind = kind;
        work_mark.subject = subject;
    }
    ~WorkingOn() {
        work_mark.kind = kind_;
        work_mark.subject = subject_;
    }
    WorkingOn(const WorkingOn&) = delete;
    WorkingOn& operator=(const WorkingOn&) = delete;

  private:
    WorkKind kind_;
    const void* subject_;
};

/* Marks the turns of a loop or the elements of an array, for the length of a block. Inside of
 * another one it counts units only: the mark tells the outermost. */
class WorkTurns {
  public:
    explicit WorkTurns(unsigned long long turns) : is_outermost_(work_mark.turns == 0) {
        if (!is_outermost_) return;
        work_mark.turn = 0;
        work_mark.turns = turns;
    }
    ~WorkTurns() {
        if (is_outermost_) work_mark.turns = 0;
    }
    WorkTurns(const WorkTurns&) = delete;
    WorkTurns& operator=(const WorkTurns&) = delete;

    /* A turn has been taken. */
    void next() {
        if (is_outermost_) ++work_mark.turn;
        work_units(1);
    }

  private:
    bool is_outermost_;
};

} // namespace norvane
#endif

#endif
