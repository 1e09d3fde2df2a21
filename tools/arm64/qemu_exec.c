/* Preloaded into programs under qemu-aarch64 without binfmt_misc: an execv of an aarch64 program
 * (GoogleTest's threadsafe death tests re-execute themselves) starts it under qemu-aarch64 again. */
#define _GNU_SOURCE
#include <elf.h>
#include <errno.h>
#include <fcntl.h>
#include <stdlib.h>
#include <string.h>
#include <sys/syscall.h>
#include <unistd.h>

extern char** environ;

/* Runs qemu with the guest-only variables as its -E options, and drops from its stderr the line
 * qemu adds when the program dies by a signal, which the program itself never printed; the
 * signal is raised again so that the parent sees the death it expects. */
static const char kRunner[] =
    "q=$1 prefix=$2 preload=$3 libs=$4; shift 4\n"
    "exec {out}>&1\n"
    "\"$q\" -L \"$prefix\" -E \"LD_PRELOAD=$preload\" -E \"LD_LIBRARY_PATH=$libs\" \"$@\" 2>&1 >&$out {out}>&- |\n"
    "  grep -v --line-buffered '^qemu: uncaught target signal' >&2\n"
    "status=${PIPESTATUS[0]}\n"
    "if [ \"$status\" -gt 128 ]; then trap - $((status - 128)); kill -$((status - 128)) $$; fi\n"
    "exit \"$status\"\n";

static int isAarch64Program(const char* path)
{
    Elf64_Ehdr header;
    const int fd = open(path, O_RDONLY | O_CLOEXEC);
    if (fd < 0) {
        return 0;
    }
    const ssize_t got = read(fd, &header, sizeof header);
    close(fd);
    return got == (ssize_t)sizeof header && memcmp(header.e_ident, ELFMAG, SELFMAG) == 0 &&
           header.e_machine == EM_AARCH64;
}

static const char* envOr(const char* name, const char* fallback)
{
    const char* value = getenv(name);
    return value != NULL ? value : fallback;
}

int execve(const char* path, char* const argv[], char* const envp[])
{
    const char* qemu = getenv("VEN_QEMU_AARCH64");
    if (qemu == NULL || !isAarch64Program(path)) {
        return (int)syscall(SYS_execve, path, argv, envp);
    }
    size_t argc = 0;
    while (argv[argc] != NULL) {
        ++argc;
    }
    const char** args = calloc(argc + 9, sizeof *args);
    size_t envc = 0;
    while (envp[envc] != NULL) {
        ++envc;
    }
    const char** env = calloc(envc + 1, sizeof *env);
    if (args == NULL || env == NULL) {
        errno = ENOMEM;
        return -1;
    }
    size_t n = 0;
    args[n++] = "/bin/bash";
    args[n++] = "-c";
    args[n++] = kRunner;
    args[n++] = "qemu-exec";
    args[n++] = qemu;
    args[n++] = envOr("VEN_QEMU_LD_PREFIX", "/usr/aarch64-linux-gnu");
    args[n++] = envOr("LD_PRELOAD", "");
    args[n++] = envOr("LD_LIBRARY_PATH", "");
    args[n++] = path;
    for (size_t i = 1; i < argc; ++i) {
        args[n++] = argv[i];
    }
    /* The host's loader must not see the guest's libraries. */
    size_t kept = 0;
    for (size_t i = 0; i < envc; ++i) {
        if (strncmp(envp[i], "LD_PRELOAD=", 11) != 0 && strncmp(envp[i], "LD_LIBRARY_PATH=", 16) != 0) {
            env[kept++] = envp[i];
        }
    }
    return (int)syscall(SYS_execve, "/bin/bash", args, env);
}

int execv(const char* path, char* const argv[])
{
    return execve(path, argv, environ);
}
