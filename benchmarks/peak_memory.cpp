// Runs a program and prints the largest resident memory, in KiB, of it and its children:
// peak_memory PROGRAM [ARGUMENT...]. The system counts what a process had before it became another
// program, so it is started from this small one and not from an interpreter.
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>

int main(int, char** argv)
{
    const pid_t child = fork();
    if (child == 0) {
        if (!std::freopen("/dev/null", "w", stdout)) _exit(127);
        execvp(argv[1], argv + 1);
        _exit(127);
    }
    int status = 0;
    rusage used = {};
    if (wait4(child, &status, 0, &used) != child || status != 0) return 1;
    std::printf("%ld\n", used.ru_maxrss);
    return 0;
}
