/* Preloaded into CVDiag, makes the calls with which the preferences are written
 * (open, mkostemp, write, rename) fail in the folder CVDIAG_FAULT_FOLDER
 * as CVDIAG_FAULT says: "EROFS", a read-only file system; "ENOSPC", a full one,
 * where no file can be made and no byte written; "ENOSPC:<n>", one that fills
 * up after <n> bytes, cutting short the write that crosses the mark. */
#define _GNU_SOURCE
#include <dlfcn.h>
#include <errno.h>
#include <fcntl.h>
#include <limits.h>
#include <stdarg.h>
#include <stdatomic.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/stat.h>
#include <unistd.h>

static enum { NONE, READ_ONLY, FULL } kind = NONE;
static _Atomic long long budget = 0; /* bytes that may still be written, when FULL */
static char folder[PATH_MAX];

__attribute__((constructor)) static void configure(void) {
  const char *dir = getenv("CVDIAG_FAULT_FOLDER"), *what = getenv("CVDIAG_FAULT");
  if (!dir || !what || !realpath(dir, folder)) return;
  if (strcmp(what, "EROFS") == 0) kind = READ_ONLY;
  if (strncmp(what, "ENOSPC", 6) == 0) kind = FULL, budget = what[6] == ':' ? atoll(what + 7) : 0;
}

#define REAL(name) ((__typeof__(&name))dlsym(RTLD_NEXT, #name))

static int fail(int error) {
  errno = error;
  return -1;
}

/* Whether the file at `path` is directly inside the folder. */
static int inFolder(const char *path) {
  char dir[PATH_MAX], resolved[PATH_MAX];
  const char *slash = strrchr(path, '/');
  if (kind == NONE || !slash || slash == path) return 0;
  snprintf(dir, sizeof dir, "%.*s", (int)(slash - path), path);
  return realpath(dir, resolved) && strcmp(resolved, folder) == 0;
}

static int fdInFolder(int fd) {
  char link[64], path[PATH_MAX] = {0};
  snprintf(link, sizeof link, "/proc/self/fd/%d", fd);
  return kind != NONE && readlink(link, path, sizeof path - 1) > 0 && inFolder(path);
}

/* Opening or making `path`, with `flags`: the fault it meets, or 0. */
static int openFault(const char *path, int flags) {
  if (!(flags & (O_WRONLY | O_RDWR | O_CREAT | O_TRUNC)) || !inFolder(path)) return 0;
  if (kind == READ_ONLY) return EROFS;
  struct stat st;
  return (flags & O_CREAT) && budget <= 0 && stat(path, &st) != 0 ? ENOSPC : 0;
}

int open(const char *path, int flags, ...) {
  va_list ap;
  va_start(ap, flags);
  mode_t mode = (flags & (O_CREAT | O_TMPFILE)) ? va_arg(ap, int) : 0;
  va_end(ap);
  int error = openFault(path, flags);
  return error ? fail(error) : REAL(open)(path, flags, mode);
}

/* glibc opens temporary files with an internal call that open above misses. */
int mkostemp(char *pattern, int flags) {
  int error = openFault(pattern, O_CREAT);
  return error ? fail(error) : REAL(mkostemp)(pattern, flags);
}

ssize_t write(int fd, const void *data, size_t size) {
  if (!fdInFolder(fd)) return REAL(write)(fd, data, size);
  if (kind == READ_ONLY) return fail(EROFS);
  long long left = atomic_fetch_sub(&budget, (long long)size);
  if (left <= 0) return fail(ENOSPC);
  return REAL(write)(fd, data, left < (long long)size ? (size_t)left : size);
}

int rename(const char *from, const char *to) {
  return kind == READ_ONLY && (inFolder(from) || inFolder(to)) ? fail(EROFS) : REAL(rename)(from, to);
}
