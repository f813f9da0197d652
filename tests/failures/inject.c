/* Loaded into the driver before all libraries (LD_PRELOAD): counts the calls by which a
 * program asks the system for something, and lets one of them fail, as it does on a machine whose
 * memory, descriptors, disk or processes are used up. Calls from the C library, expat and
 * libzip count too.
 *
 * In the environment: INJECT_FILE, a file of `struct Shared`, which tells what is to fail and takes
 * the counts. That begins before any library's initialisers run, those of the C library included.
 */
#define _GNU_SOURCE
#undef _FORTIFY_SOURCE

#include <dlfcn.h>
#include <errno.h>
#include <fcntl.h>
#include <pthread.h>
#include <stdarg.h>
#include <stddef.h>
#include <stdio.h>
#include <stdio_ext.h>
#include <stdlib.h>
#include <string.h>
#include <sys/mman.h>
#include <sys/random.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#undef fwrite_unlocked

enum Kind { MEMORY, OPEN, READ, WRITE, SPAWN, MAP, REMOVE, KINDS };

/* Shared with run.py, which runs the driver, and with the process that becomes the preprocessor. */
struct Shared {
    int kind;         /* what is to fail, or -1 */
    int at;           /* which of its calls, from 1 */
    int onwards;      /* if not 0, all later calls fail too */
    int failed;       /* how many did */
    int calls[KINDS]; /* how many there were */
};

static struct Shared* shared; /* null while nothing is counted */

static int fails(enum Kind kind, int error) {
    if (!shared) return 0;
    const int call = __atomic_add_fetch(&shared->calls[kind], 1, __ATOMIC_RELAXED);
    if (shared->kind != (int)kind || call < shared->at) return 0;
    if (call > shared->at && !shared->onwards) return 0;
    __atomic_add_fetch(&shared->failed, 1, __ATOMIC_RELAXED);
    errno = error;
    return 1;
}

/* The functions that would have been called. */
/* clang-format off */
#define FUNCTIONS(each)                                                                            \
    each(malloc) each(calloc) each(realloc) each(aligned_alloc) each(posix_memalign)               \
    each(open) each(fopen) each(fdopen) each(open_memstream) each(mkstemp) each(mkostemp)          \
    each(memfd_create) each(pipe2) each(dup) each(dup2) each(dlopen)                               \
    each(read) each(fread)                                                                         \
    each(write) each(fwrite) each(fwrite_unlocked) each(fputs) each(puts) each(fflush)             \
    each(fclose) each(close) each(fchmod) each(rename) each(fseeko)                                \
    each(execvpe) each(pthread_create) each(waitpid)                                               \
    each(mmap) each(mprotect) each(unlink)
/* clang-format on */

struct Functions {
#define DECLARE(name) __typeof__(name)* name;
    FUNCTIONS(DECLARE)
#undef DECLARE
};

/* All of them are looked up before the first is needed: dlerror(), for one, asks for memory, and
 * must not come upon a dlsym() there. */
static const struct Functions* real(void) {
    static struct Functions found;
    if (!found.malloc) {
#define FIND(name) found.name = (__typeof__(name)*)dlsym(RTLD_NEXT, #name);
        FUNCTIONS(FIND)
#undef FIND
    }
    return &found;
}

/* Wraps a function, which fails with `error` and `result` or is called. */
#define WRAP(type, name, parameters, arguments, kind, error, result)                               \
    type name parameters {                                                                         \
        return fails(kind, error) ? result : real()->name arguments;                               \
    }

/* Memory. ---------------------------------------------------------------------------------------*/

WRAP(void*, malloc, (size_t size), (size), MEMORY, ENOMEM, NULL)
WRAP(void*, calloc, (size_t count, size_t size), (count, size), MEMORY, ENOMEM, NULL)
WRAP(void*, realloc, (void* memory, size_t size), (memory, size), MEMORY, ENOMEM, NULL)
WRAP(void*, aligned_alloc, (size_t alignment, size_t size), (alignment, size), MEMORY, ENOMEM, NULL)
WRAP(int, posix_memalign, (void** memory, size_t alignment, size_t size), (memory, alignment, size),
     MEMORY, ENOMEM, ENOMEM)

char* strndup(const char* text, size_t size) {
    const size_t length = strnlen(text, size);
    char* copy = malloc(length + 1);
    if (!copy) return NULL;
    copy[length] = '\0';
    return memcpy(copy, text, length);
}

char* strdup(const char* text) {
    return strndup(text, strlen(text));
}

/* What the driver's own operators new call. */
void* mi_malloc(size_t size);
void* mi_malloc_aligned(size_t size, size_t alignment);

void* mi_malloc(size_t size) {
    return malloc(size);
}

void* mi_malloc_aligned(size_t size, size_t alignment) {
    return aligned_alloc(alignment, (size + alignment - 1) / alignment * alignment);
}

/* C++'s operators new, by their names in the binary: an allocator that takes the place of the C
 * library's brings its own ones, which never call malloc. */
_Noreturn void throw_bad_alloc(void) __asm__("_ZSt17__throw_bad_allocv");

static void* new_or_throw(void* memory) {
    if (!memory) throw_bad_alloc();
    return memory;
}

void* new_object(size_t size) __asm__("_Znwm");
void* new_array(size_t size) __asm__("_Znam") __attribute__((alias("_Znwm")));
void* new_object_or_null(size_t size, const void* nothrow) __asm__("_ZnwmRKSt9nothrow_t");
void* new_array_or_null(size_t, const void*) __asm__("_ZnamRKSt9nothrow_t")
    __attribute__((alias("_ZnwmRKSt9nothrow_t")));
void* new_aligned(size_t size, size_t alignment) __asm__("_ZnwmSt11align_val_t");

void* new_object(size_t size) {
    return new_or_throw(malloc(size));
}

void* new_object_or_null(size_t size, const void* nothrow) {
    (void)nothrow;
    return malloc(size);
}

void* new_aligned(size_t size, size_t alignment) {
    return new_or_throw(aligned_alloc(alignment, (size + alignment - 1) / alignment * alignment));
}

/* Descriptors. ----------------------------------------------------------------------------------*/

int open(const char* path, int flags, ...) {
    va_list arguments;
    va_start(arguments, flags);
    const mode_t mode = va_arg(arguments, mode_t);
    va_end(arguments);
    return fails(OPEN, EMFILE) ? -1 : real()->open(path, flags, mode);
}

WRAP(FILE*, fopen, (const char* path, const char* mode), (path, mode), OPEN, EMFILE, NULL)
WRAP(FILE*, fdopen, (int descriptor, const char* mode), (descriptor, mode), OPEN, ENOMEM, NULL)
WRAP(FILE*, open_memstream, (char** text, size_t* size), (text, size), OPEN, ENOMEM, NULL)
WRAP(int, mkstemp, (char* name), (name), OPEN, EMFILE, -1)
WRAP(int, mkostemp, (char* name, int flags), (name, flags), OPEN, EMFILE, -1)
WRAP(int, memfd_create, (const char* name, unsigned flags), (name, flags), OPEN, EMFILE, -1)
WRAP(int, pipe2, (int ends[2], int flags), (ends, flags), OPEN, EMFILE, -1)
WRAP(int, dup, (int descriptor), (descriptor), OPEN, EMFILE, -1)
WRAP(int, dup2, (int descriptor, int number), (descriptor, number), OPEN, EBUSY, -1)

/* So that there is an error to be asked for. What the loader needs for itself, and what a library
 * does before it can be called, is not tested. */
void* dlopen(const char* name, int flags) {
    if (fails(OPEN, ENOENT)) name = "/no/such/library.so";
    struct Shared* counting = shared;
    shared = NULL;
    void* library = real()->dlopen(name, flags);
    shared = counting;
    return library;
}

/* What libzip draws random numbers from does not survive being out of memory, and is not tested
 * either. */
int RAND_bytes(unsigned char* buffer, int size);

int RAND_bytes(unsigned char* buffer, int size) {
    return getrandom(buffer, (size_t)size, 0) == size;
}

/* A pipe between two ends of which both are open takes and gives everything. */
static int is_pipe(int descriptor) {
    struct stat status;
    return fstat(descriptor, &status) == 0 && S_ISFIFO(status.st_mode);
}

/* Reading. --------------------------------------------------------------------------------------*/

/* What the C library does to a stream when the system refuses. */
static void refuse(FILE* stream) {
    stream->_flags |= 0x20; /* what ferror() looks at */
}

ssize_t read(int descriptor, void* buffer, size_t size) {
    return !is_pipe(descriptor) && fails(READ, EIO) ? -1 : real()->read(descriptor, buffer, size);
}

size_t fread(void* buffer, size_t size, size_t count, FILE* stream) {
    if (!fails(READ, EIO)) return real()->fread(buffer, size, count, stream);
    refuse(stream);
    return 0;
}

/* Writing, and what follows it. Standard error never fails: it takes the report. -----------*/

static int refused(FILE* stream) {
    const int descriptor = fileno(stream);
    if (descriptor < 0 || descriptor == 2 || is_pipe(descriptor)) return 0;
    if (!fails(WRITE, ENOSPC)) return 0;
    refuse(stream);
    return 1;
}

ssize_t write(int descriptor, const void* data, size_t size) {
    return descriptor != 2 && !is_pipe(descriptor) && fails(WRITE, ENOSPC)
               ? -1
               : real()->write(descriptor, data, size);
}

size_t fwrite(const void* data, size_t size, size_t count, FILE* stream) {
    return refused(stream) ? 0 : real()->fwrite(data, size, count, stream);
}

size_t fwrite_unlocked(const void* data, size_t size, size_t count, FILE* stream) {
    return refused(stream) ? 0 : real()->fwrite_unlocked(data, size, count, stream);
}

int fputs(const char* text, FILE* stream) {
    return refused(stream) ? EOF : real()->fputs(text, stream);
}

int puts(const char* text) {
    return refused(stdout) ? EOF : real()->puts(text);
}

/* What was held is lost. */
int fflush(FILE* stream) {
    if (!stream || __fpending(stream) == 0 || !refused(stream)) return real()->fflush(stream);
    __fpurge(stream);
    errno = ENOSPC;
    return EOF;
}

int fclose(FILE* stream) {
    if (!__fwritable(stream) || !refused(stream)) return real()->fclose(stream);
    __fpurge(stream);
    real()->fclose(stream);
    errno = ENOSPC;
    return EOF;
}

/* Where data was written, this is the last moment for it to be lost. */
int close(int descriptor) {
    const int flags = shared ? fcntl(descriptor, F_GETFL) : -1;
    const int failed = flags != -1 && (flags & O_ACCMODE) != O_RDONLY && fails(WRITE, EIO);
    const int status = real()->close(descriptor);
    if (!failed) return status;
    errno = EIO;
    return -1;
}

WRAP(int, fchmod, (int descriptor, mode_t mode), (descriptor, mode), WRITE, EROFS, -1)
WRAP(int, rename, (const char* from, const char* to), (from, to), WRITE, ENOSPC, -1)

int fseeko(FILE* stream, off_t offset, int from) {
    if (!__fwritable(stream) || !refused(stream)) return real()->fseeko(stream, offset, from);
    return -1;
}

/* Processes and threads. ------------------------------------------------------------------------*/

/* No function can return twice, so this one copies the process. */
pid_t vfork(void) {
    return fails(SPAWN, EAGAIN) ? -1 : fork();
}

WRAP(int, execvpe, (const char* file, char* const arguments[], char* const environment[]),
     (file, arguments, environment), SPAWN, ENOENT, -1)

int pthread_create(pthread_t* thread, const pthread_attr_t* attributes, void* (*body)(void*),
                   void* user) {
    return fails(SPAWN, EAGAIN) ? EAGAIN : real()->pthread_create(thread, attributes, body, user);
}

pid_t waitpid(pid_t process, int* status, int options) {
    const pid_t ended = real()->waitpid(process, status, options);
    return fails(SPAWN, ECHILD) ? -1 : ended;
}

/* Memory by the page, as for stacks of deep recursion. ------------------------------------------*/

void* mmap(void* place, size_t size, int protection, int flags, int descriptor, off_t offset) {
    if (fails(MAP, ENOMEM)) return MAP_FAILED;
    return real()->mmap(place, size, protection, flags, descriptor, offset);
}

WRAP(int, mprotect, (void* place, size_t size, int protection), (place, size, protection), MAP,
     ENOMEM, -1)

/* Removing files.  ----------------------------------------------------------------------------*/

WRAP(int, unlink, (const char* path), (path), REMOVE, EPERM, -1)

/* The beginning. --------------------------------------------------------------------------------*/

/* The value of a variable, which is taken out of the environment; or null. */
static const char* take_out(char** environment, const char* name) {
    const size_t length = strlen(name);
    while (*environment &&
           (strncmp(*environment, name, length) != 0 || (*environment)[length] != '='))
        ++environment;
    if (!*environment) return NULL;
    const char* value = *environment + length + 1;
    do
        environment[0] = environment[1];
    while (*environment++);
    return value;
}

/* The loader runs this first (-z initfirst), when the C library does not yet know its environment.
 * Processes that the driver starts must not load this library. */
__attribute__((constructor)) static void begin(int argc, char** argv, char** environment) {
    (void)argc;
    (void)argv;
    real();
    take_out(environment, "LD_PRELOAD");
    const char* file = take_out(environment, "INJECT_FILE");
    const int descriptor = file ? (int)syscall(SYS_openat, AT_FDCWD, file, O_RDWR | O_CLOEXEC) : -1;
    if (descriptor < 0) abort();
    void* memory =
        real()->mmap(NULL, sizeof *shared, PROT_READ | PROT_WRITE, MAP_SHARED, descriptor, 0);
    syscall(SYS_close, descriptor);
    if (memory == MAP_FAILED) abort();
    shared = memory;
}
