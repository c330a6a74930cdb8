/* The public headers as C sees them. Each check returns 0, or the line of what failed. */
#include <stdlib.h>
#include <string.h>

#include "zel/zel.h"
/* Each header stands on its own and may come twice. */
#include "zel/zel_ancillary.h"
#include "zel/zel_channel.h"
#include "zel/zel_composite.h"
#include "zel/zel_door.h"
#include "zel/zel_fetch.h"
#include "zel/zel_finish.h"
#include "zel/zel_histogram.h"
#include "zel/zel_init.h"
#include "zel/zel_io.h"
#include "zel/zel_line.h"
#include "zel/zel_lut.h"
#include "zel/zel_navigate.h"
#include "zel/zel_open.h"
#include "zel/zel_table.h"
#include "zel/zel_types.h"
#include "zel/zel_util.h"

#define REQUIRE(condition)                 \
    do {                                   \
        if (!(condition)) return __LINE__; \
    } while (0)

_Static_assert(ZEL_MAX_CHANNELS == 1000, "slots of a record");
_Static_assert(compositeHeaderOffset == 1221, "length of the prefix");
_Static_assert(sizeof(((ZELType*)0)->ImageFilename) == 240, "bytes of a file name");

int cTablesAndLuts(void);
int cWriteAndRead(const char* path);
int cGuardedEnding(void);

int cTablesAndLuts(void)
{
    TableListType list = {0};
    const float values[3] = {1.0f, 2.0f, 3.0f};
    ZELDisplayLUTType* lut = ZELCreateFullStandardLUT();
    REQUIRE(ZELAddTable(&list, 4, 3, "curve") != NULL);
    ZELLoadTableByKey(&list, 4, values);
    REQUIRE(ZELFetchTableByLabel(&list, "CURVE")->Table[2] == 3.0f);
    ZELFreeTables(&list);
    REQUIRE(list.NumTables == 0);
    REQUIRE(strcmp(lut->DisplayLUT[14].LUTEntryLabel, full_class_labels[14]) == 0);
    REQUIRE(lut->DisplayLUT[29].R == full_class_colors[29][0]);
    ZELDeAllocateLUT(lut);
    REQUIRE(ZELBadLatLon(90.0f, 180.0f) == 0);
    return 0;
}

int cWriteAndRead(const char* path)
{
    ZELType* file = malloc(sizeof *file);
    const float pixels[4] = {0.0f, 50.0f, 100.0f, 255.0f};
    float *lat = NULL, *lon = NULL;
    REQUIRE(file != NULL);
    ZELInitNewWriteOnlyFile(file, ZEL_SENSOR_GENERIC, "from C", 97, 12, 3, 4, 0, 0, 1, 700.0f,
                            30.0f);
    ZELSetOverwritePromptOff(file);
    ZELAddChannel(file, 0, 255.0f, 0.0f, ZEL_STORED_BYTE, 8, "bytes", "of C");
    REQUIRE(ZELOpenWriteOnlyFile(file, path) == 0);
    ZELLoadChannel(file, 0, pixels);
    ZELWriteLine(file);
    ZELFinishWritingFile(file);
    REQUIRE(ZELOpenReadOnlyFile(file, path) == 0);
    REQUIRE(file->ZELHeader.year == 1997);
    REQUIRE(ZELFetchNumberOfLines(file) == 1);
    REQUIRE(strcmp(ZELFetchChannelLabel(file, 0), "bytes") == 0);
    REQUIRE(ZELReadLine(file) == 4);
    REQUIRE(ZELFetchChannel(file, 0)[2] == 100.0f);
    ZELFetchNavigation(file, &lat, &lon);
    REQUIRE(lat[0] == -9999.0f);
    ZELFinishReadingFile(file);
    free(file);
    return 0;
}

static void misuse(void* unused)
{
    (void)unused;
    ZELDeAllocateTable(NULL);
}

static void ignore(void* unused, FILE* stream, const char* text)
{
    (void)unused;
    (void)stream;
    (void)text;
}

int cGuardedEnding(void)
{
    int status = 5;
    int ended;
    ZELSetMessageSink(ignore, NULL);
    ended = ZELGuardedCall(misuse, NULL, &status);
    ZELSetMessageSink(NULL, NULL);
    REQUIRE(ended == 1);
    REQUIRE(status == -1);
    return 0;
}
