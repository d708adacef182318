/* A full disk for one folder, preloaded into a program with LD_PRELOAD:
 * writes into files under $QRT_FULL_DISK_DIR succeed for the first
 * $QRT_FULL_DISK_AFTER bytes in all, the one that crosses the limit is cut
 * short there, and every later write or sync of such a file fails with
 * ENOSPC, as on a disk that fills up midway through. Files elsewhere are
 * untouched. */

#define _GNU_SOURCE
#include <dlfcn.h>
#include <errno.h>
#include <limits.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/types.h>
#include <unistd.h>

static long long spaceLeft = -1; /* -1 until read from the environment */

static int onFullDisk(int fd)
{
    const char *folder = getenv("QRT_FULL_DISK_DIR");
    if (!folder || !*folder)
        return 0;
    char link[64], path[PATH_MAX];
    snprintf(link, sizeof link, "/proc/self/fd/%d", fd);
    const ssize_t length = readlink(link, path, sizeof path - 1);
    if (length <= 0)
        return 0;
    path[length] = '\0';
    const size_t prefix = strlen(folder);
    return strncmp(path, folder, prefix) == 0 && path[prefix] == '/';
}

/* How many of count bytes the disk still takes; -1 with ENOSPC when none. */
static ssize_t room(int fd, size_t count)
{
    if (!onFullDisk(fd))
        return (ssize_t)count;
    if (spaceLeft < 0) {
        const char *after = getenv("QRT_FULL_DISK_AFTER");
        spaceLeft = after ? atoll(after) : 0;
    }
    if (count > 0 && spaceLeft == 0) {
        errno = ENOSPC;
        return -1;
    }
    const size_t taken = count < (size_t)spaceLeft ? count : (size_t)spaceLeft;
    spaceLeft -= (long long)taken;
    return (ssize_t)taken;
}

#define NEXT(name) ((__typeof__(&name))dlsym(RTLD_NEXT, #name))

ssize_t write(int fd, const void *buffer, size_t count)
{
    const ssize_t taken = room(fd, count);
    return taken < 0 ? -1 : NEXT(write)(fd, buffer, (size_t)taken);
}

ssize_t pwrite(int fd, const void *buffer, size_t count, off_t offset)
{
    const ssize_t taken = room(fd, count);
    return taken < 0 ? -1 : NEXT(pwrite)(fd, buffer, (size_t)taken, offset);
}

ssize_t pwrite64(int fd, const void *buffer, size_t count, off64_t offset)
{
    const ssize_t taken = room(fd, count);
    return taken < 0 ? -1 : NEXT(pwrite64)(fd, buffer, (size_t)taken, offset);
}

/* Data that was cut short never reaches the disk either. */
static int syncFile(int fd, int (*next)(int))
{
    if (onFullDisk(fd) && spaceLeft == 0) {
        errno = ENOSPC;
        return -1;
    }
    return next(fd);
}

int fsync(int fd)
{
    return syncFile(fd, NEXT(fsync));
}

int fdatasync(int fd)
{
    return syncFile(fd, NEXT(fdatasync));
}
