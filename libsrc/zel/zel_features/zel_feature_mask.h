/* Classifier masks: trained classifiers with the rules around them - filters before and after
   classification, pixel programs, a title - and the channel that takes the result. Failures print
   their message on standard error and end the process (-1). */
#ifndef ZEL_FEATURE_MASK_H
#define ZEL_FEATURE_MASK_H

#include "../zel_types.h"
#include "zel_feature_types.h"

#ifdef __cplusplus
extern "C" {
#endif

/* MaskType of a mask's parameters. */
enum { ZEL_MASK_CASE = 0, ZEL_MASK_HIERARCHICAL = 1 };

/* Levels of a hierarchical mask run from 0 to one below this. */
enum { ZEL_MASK_NUM_LEVELS = 100 };

/* One classifier of a mask; its data are opaque here. */
typedef struct ZELClassifierList {
    ZELParameterStruct* Parameters; /* what it was trained with */
    int ClassifierByteCount;
    int ClassifierType;
    int ClassifierLevel;
    int ClassifierIndex;       /* place in the mask, from 0 */
    unsigned char* Classifier; /* ClassifierByteCount bytes, null for none */
    struct ZELClassifierList* next;
} ZELClassifierList;

struct ZELFeatureMaskType {
    InfoStruct Header;                     /* of the mask file that was read or written last */
    ZELClassifierList* ClassifierListHead; /* the first entry */
    ZELClassifierList* ClassifierList;     /* the last entry */
    ZELMaskParameterType MaskParameters;
    int numClassifiers;
    int ZELChannelIndex; /* the channel that takes the result */
    char* ZELChannelLabel;
    char* ZELChannelComment;
    struct ZELFeatureMaskType* next; /* in a mask list */
};

typedef struct ZELFeatureMaskListType {
    CommandStruct Conditions;     /* definitions outside of the mask blocks */
    ZELFeatureMaskType* MaskHead; /* the first mask */
    ZELFeatureMaskType* Mask;     /* the last mask */
    int NumMasks;
} ZELFeatureMaskListType;

/* ---- Life ---- */

/* A mask without classifiers and rules for that channel; the caller's. */
ZELFeatureMaskType* ZELFeatureAllocateNewMask(int channelIndex);

/* Appends an empty classifier with an empty parameter record to the mask and counts it. */
ZELClassifierList* ZELFeatureNewClassifierListEntry(ZELFeatureMaskType* mask);

/* Makes the record one without rules; what it held before is forgotten. */
void initializeMaskParameterStruct(ZELMaskParameterType* Parameters);

/* Makes dest a deep copy of source; what dest held before is not freed. */
void ZELFeatureCopyMaskParameters(ZELMaskParameterType* dest, const ZELMaskParameterType* source);

/* A deep copy, the caller's; null for null. Its next pointer is null. */
ZELFeatureMaskType* ZELFeatureDuplicateMask(const ZELFeatureMaskType* mask);

/* Frees a mask with all it owns. Null is allowed. */
void ZELFeatureFreeMask(ZELFeatureMaskType* mask);

/* Empties a list, without freeing what it held. */
void ZELFeatureInitializeMaskList(ZELFeatureMaskListType* list);

/* Appends a mask, which the list owns from then on, and counts it. */
void ZELFeatureAddMaskToList(ZELFeatureMaskListType* list, ZELFeatureMaskType* mask);

/* Frees the masks and definitions of a list and empties it. */
void ZELFeatureFreeMaskList(ZELFeatureMaskListType* list);

/* ---- Files ---- */

/* Writes a mask: version "1.2", with the date of now, which also replace the mask's Header, and
   with class counts of 0 in the headers of its classifiers. A classifier without features ends the
   process (-1). Null is written as the single number 0; a mask without classifiers begins with that
   number too, and cannot be read again. */
void ZELFeatureWriteMask(ZELFeatureMaskType* mask, FILE* fptr);

/* Reads a mask at the position of a stream that can be positioned; the caller's. Null for the
   number 0. The text of a program that does not compile is kept, without its statements, after a
   message; every other error ends the process (-1). */
ZELFeatureMaskType* ZELFeatureReadMask(FILE* fptr);

/* Writes a mask to a file of its own, which may not be one of those that it was read from. */
void ZELFeatureSaveMask(ZELFeatureMaskType* mask, const char* filename);

/* Reads a mask parameter file into the list, whose previous content is not freed. The masks take
   channels 0, 1 and so on. The names of a mask's classifier files become the input files of its IO,
   the name to save it under the output file. Every error prints its message, after the line where
   there is one, and ends the process (-1); unknown commands are reported and ignored. */
void ZELParseMaskParameterFile(const char* filename, ZELFeatureMaskListType* list);

/* ---- Use ---- */

/* Sets to 0 the weights of the classes that the pre-class filters exclude for the pixel. A filter
   holds when its condition, truncated, is not 0. A list with a comma excludes class 0 too. */
void ZELFeaturePreClassificationFilter(const ZELMaskParameterType* Parameters,
                                       ZELPixelStruct* Pixel);

/* Evaluates the action of each post-class filter that holds; an action that skips the pixel sets
   its Class to 0 and is the last. */
void ZELFeaturePostClassificationFilter(const ZELMaskParameterType* Parameters,
                                        ZELPixelStruct* Pixel);

/* The same for the pixels of a line where passedOver, int[numPixels] or null, is 0:
   ZELExecuteProgramLine in zel_program.h. */
void ZELFeaturePreClassificationFilterLine(const ZELMaskParameterType* Parameters,
                                           ZELPixelStruct* pixel, const ZELLineStruct* line,
                                           const int* passedOver);
void ZELFeaturePostClassificationFilterLine(const ZELMaskParameterType* Parameters,
                                            ZELPixelStruct* pixel, const ZELLineStruct* line,
                                            const int* passedOver);

/* Lists on standard output. */
void ZELFeaturePrintMaskConditions(const ZELMaskParameterType* Parameters);
void ZELFeaturePrintPreClassFilters(const ZELMaskParameterType* Parameters);
void ZELFeaturePrintPostClassFilters(const ZELMaskParameterType* Parameters);
void ZELFeaturePrintMaskComments(const ZELMaskParameterType* Parameters);
void ZELFeaturePrintMaskTitle(const ZELMaskParameterType* Parameters);

#ifdef __cplusplus
}
#endif
#endif
