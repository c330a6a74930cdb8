/* Runs a program of another processor under its emulator, with the name that it was called by: the
   tool's messages begin with that. Compiled with EMULATOR, LIBRARIES and PROGRAM, paths in quotes, and
   with the emulator's options for libraries and for the name. */
#include <stdio.h>
#include <stdlib.h>
#include <unistd.h>

int main(int argc, char** argv)
{
    char** command = calloc((size_t)argc + 6, sizeof *command);
    int n = 0;
    if (!command) return 126;
    command[n++] = EMULATOR;
    command[n++] = LIBRARY_OPTION;
    command[n++] = LIBRARIES;
    command[n++] = NAME_OPTION;
    command[n++] = argv[0];
    command[n++] = PROGRAM;
    for (int i = 1; i < argc; ++i) command[n++] = argv[i];
    execv(EMULATOR, command);
    perror(EMULATOR);
    return 126;
}
