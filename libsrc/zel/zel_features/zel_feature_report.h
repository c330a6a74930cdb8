/* The three printers of the feature layer, and the buffer in which its messages are formatted. */
#ifndef ZEL_FEATURE_REPORT_H
#define ZEL_FEATURE_REPORT_H

#include "zel_feature_types.h"

#ifdef __cplusplus
extern "C" {
#endif

/* The message formatted last, cut at 240 characters. */
extern char infoLine[ZEL_FEATURE_LINE_SIZE + 1];

/* Text to standard error, followed by "system error code:: " and the system's text when errno is
   set. */
void printError(const char* text);

/* Text to standard output. */
void printInfo(const char* text);
void printCriticalInfo(const char* text);

#ifdef __cplusplus
}
#endif
#endif
