/* A program of somebody else: one call that works, one that ends, and the callback in between. */
#include <stdio.h>
#include <string.h>
#include <zel/zel.h>
#include <zel/zel_features/zel_features.h>

static char lastMessage[256];

static void keep(void* userData, FILE* stream, const char* text)
{
    (void)userData;
    (void)stream;
    strncpy(lastMessage, text, sizeof lastMessage - 1);
}

static void makeLUT(void* userData)
{
    const int* numValues = (const int*)userData;
    ZELDeAllocateLUT(ZELAllocateLUT(*numValues));
}

int main(void)
{
    int good = 3;
    int bad = -1;
    int status = 99;
    ZELSetMessageSink(keep, NULL);
    if (strcmp(ZELString, "ZEL") != 0) return 1;
    if (ZELGuardedCall(makeLUT, &good, &status) != 0 || status != 0) return 2;
    if (ZELGuardedCall(makeLUT, &bad, &status) != 1 || status != -1) return 3;
    if (lastMessage[0] == '\0') return 4;
    return 0;
}
