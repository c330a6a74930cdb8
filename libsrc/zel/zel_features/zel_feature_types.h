/* The records of the feature layer. Where a record keeps a list, head, tail and count belong
   together. */
#ifndef ZEL_FEATURE_TYPES_H
#define ZEL_FEATURE_TYPES_H

#include <stdint.h>
#include <stdio.h>

#ifdef __cplusplus
extern "C" {
#endif

/* Sizes of the feature layer. */
enum {
    ZEL_FEATURE_NUM_REGISTERS = 20, /* registers of a pixel, numbered from 1 in expressions */
    ZEL_FEATURE_NUM_CLASSES = 1000, /* classes 0..999 */
    ZEL_FEATURE_NUM_VARIABLES = 19, /* names of pixel variables, several of them aliases */
    ZEL_FEATURE_LINE_SIZE = 240,    /* characters of a message, a text line or an expression */
    ZEL_FEATURE_STACK_SIZE = 200    /* values that an evaluation can have pending */
};

/* ---- Expressions ---- */

/* Kinds of stack elements. */
enum {
    OPER = 0,        /* operator or function */
    CON = 1,         /* constant */
    CHAN = 2,        /* channel, read */
    VAR = 3,         /* pixel variable, read */
    LVALUE = 4,      /* pixel variable as the target of "=" */
    CHAN_LVALUE = 5, /* channel as the target of "=" */
    REG = 6,         /* register, read */
    REG_LVALUE = 7   /* register as the target of "=" */
};

/* Operators, weakest first; functions from VAL on. */
enum {
    SKIP_PIXEL,
    COMMA,
    SET_VARIABLE,
    OR,
    AND,
    NOTEQUAL,
    EQUAL,
    LESSTHANOREQUAL,
    GREATERTHANOREQUAL,
    GREATERTHAN,
    LESSTHAN,
    SUB,
    ADD,
    MUL,
    RATIO,
    DIV,
    NEGATIVE,
    NOT,
    VAL,
    SAT,
    HUE,
    LENGTH3,
    LENGTH2,
    ATAN,
    TAN,
    COS,
    SIN,
    D2RAD,
    LOG10,
    LOG,
    EXP,
    POW,
    SQRT,
    ZEL_NUM_OPERATORS
};

/* Operand of a stack element, 32 bits wide: int_t or float_t, as the element's kind says. The
   other two are handles of the same width, unused by the compiler. */
typedef union elementUnion {
    int32_t int_t;
    float float_t;
    uint32_t intp_t;
    uint32_t floatp_t;
} elementUnion;

/* One operand or operator of a compiled expression. op is the operator's index for OPER, the value
   for CON, the number from 1 for channels and registers, and the index into the variable table for
   variables; targets likewise. */
typedef struct StackElementStruct {
    int type;        /* element kind */
    elementUnion op; /* as above */
    struct StackElementStruct* nextElement;
} StackElementStruct;

/* A compiled expression in postfix order. It owns its elements and its text; ZELFreeStackElements
   releases both. */
typedef struct ZELStackStruct {
    StackElementStruct* stackElements; /* the last element */
    StackElementStruct* stackHead;     /* the first element */
    int numStackElements;
    char* expression; /* the source text as given, blanks included */
} ZELStackStruct;

/* Status codes of a compile. */
enum {
    ZEL_PARSE_OK = 0,
    ZEL_PARSE_MISSING_RIGHT_PARENTHESIS = 1,
    ZEL_PARSE_MISSING_LEFT_PARENTHESIS = 2,
    ZEL_PARSE_SYNTAX_ERROR = 3,
    ZEL_PARSE_ILLEGAL_OPERAND = 4,
    ZEL_PARSE_TWO_ASSIGNMENTS = 5,
    ZEL_NUM_PARSE_STATUSES
};

/* A name of a pixel variable and the field that it stands for, null until the first evaluation. */
typedef struct VariableStruct {
    const char* name;
    float* varPtr;
} VariableStruct;

/* One entry of a command list; Label, Condition and Action may each be null. */
typedef struct CommandListStruct {
    char* Label;
    ZELStackStruct* Condition;
    ZELStackStruct* Action;
    struct CommandListStruct* next;
} CommandListStruct;

typedef struct CommandStruct {
    CommandListStruct* List;     /* the last entry */
    CommandListStruct* ListHead; /* the first entry */
    int num;
} CommandStruct;

/* ---- Pixels ---- */

/* What an expression sees of one pixel. Angles and positions in degrees. */
typedef struct ZELPixelStruct {
    float olsonEco, igbpEco, percentWater, terrain; /* ancillary bytes, 255 when missing */
    float sz, vz, az; /* solar zenith, viewing zenith, relative azimuth */
    float sg;         /* sun glint, 0..100 */
    float lat, lon;
    float jday, year; /* day of the year from 1, year */
    float Class;
    float* Channels; /* float[numChannels], channel 1 first; the caller's, never freed here */
    float Registers[ZEL_FEATURE_NUM_REGISTERS];
    int ElementaryClass, BoxIndex, numChannels;
    int skipPixelFlag; /* 1 when the last evaluation reached skip_pixel */
    unsigned int Priority;
    float class_weights[ZEL_FEATURE_NUM_CLASSES];
} ZELPixelStruct;

/* A line of pixels, stored by field. Each row is float[numPixels]. A variable, register or class
   weight without a row (null) is read from, and written to, the pixel record. A channel without a
   row reads as 0.0 and ignores writes. A row that is assigned to must not overlap another. */
typedef struct ZELLineStruct {
    int numPixels;
    int numChannels;
    float** Channels; /* numChannels rows, channel 1 first */
    float *olsonEco, *igbpEco, *percentWater, *terrain;
    float *sz, *vz, *az;
    float* sg;
    float *lat, *lon;
    float *jday, *year;
    float* Class;
    float** Registers;    /* ZEL_FEATURE_NUM_REGISTERS rows, or null for none */
    float** ClassWeights; /* ZEL_FEATURE_NUM_CLASSES rows, or null for none */
} ZELLineStruct;

/* ---- Feature parameters ---- */

typedef struct InfoStruct {
    char* IdentifierString;
    char* VersionNumber;
    char* DateTimeString;
} InfoStruct;

typedef struct InputStruct {
    char* Filename;
    struct InputStruct* next;
} InputStruct;

typedef struct IOStruct {
    InputStruct* inputList;     /* the last entry */
    InputStruct* inputListHead; /* the first entry */
    int numInputFiles;
    char* outputFilename;
} IOStruct;

/* The class table: names may be null. */
typedef struct ZELClassStruct {
    char* name[ZEL_FEATURE_NUM_CLASSES];
    int Red[ZEL_FEATURE_NUM_CLASSES]; /* 0..255 */
    int Green[ZEL_FEATURE_NUM_CLASSES];
    int Blue[ZEL_FEATURE_NUM_CLASSES];
    int Count[ZEL_FEATURE_NUM_CLASSES]; /* samples */
} ZELClassStruct;

/* One element per feature, in the order of the feature definitions. */
typedef struct ZELFeatureStruct {
    char** Label;
    float* Max;
    float* Min;
} ZELFeatureStruct;

/* What a feature parameter file says, and what the header of a feature file keeps of it. */
typedef struct ZELParameterStruct {
    InfoStruct Header;
    IOStruct IO;
    CommandStruct Features;
    CommandStruct Conditions; /* named definitions */
    CommandStruct Requirements;
    CommandStruct Filters;
    CommandStruct Comments; /* labels only */
    CommandStruct Title;    /* labels only */
    CommandStruct Options;
    int RandomSeed;
    ZELClassStruct ClassInfo;
    int ClassOffset; /* place of the class counts in the file */
    ZELFeatureStruct FeatureInfo;
    int FeatureOffset;     /* place of the feature ranges in the file */
    int SubSamplingMethod; /* index into subSamplingMethodLabel, or -n for every n-th */
    int ClassType;         /* index into classTypeLabel */
    int DataType;          /* code, see dataTypeLabel */
    int IgnoreRequirementFlag;
} ZELParameterStruct;

/* AccessFlag of a feature file. */
enum { ZEL_FEATURE_READ = 1, ZEL_FEATURE_WRITE = 2 };

/* An open feature file and its current sample. */
typedef struct ZELFeatureFileStruct {
    int AccessFlag;
    FILE* fptr;
    int HeaderOffset;    /* bytes of the header: the place of sample 0 */
    int SampleLength;    /* bytes of a sample, 44 + 4 per feature; 0 for a written file */
    int CurrentSample;   /* index of the next sample to read, or number of samples written */
    int PreviousSample;  /* index of the last sample read, or number of samples written */
    int NumberOfSamples; /* of a file opened for reading */
    ZELParameterStruct Parameters;
    ZELPixelStruct Pixel;
    float* Features; /* float[Parameters.Features.num]: the current sample's values */
} ZELFeatureFileStruct;

/* ---- Pixel programs ---- */

/* The text of a program, one node per line. */
typedef struct ProgramLines {
    char* text;
    int lineNumber;
    struct ProgramLines* next;
} ProgramLines;

/* A compiled statement. next and previous follow the text, nextTrue and nextFalse the flow. */
typedef struct ProgramStruct {
    int lineNum;
    int statementType;         /* statement kind, zel_program.h */
    ZELStackStruct* Statement; /* condition, expression or weight value; null for none */
    ZELStackStruct* ClassList; /* of weightclasses, else null */
    struct ProgramStruct* next;
    struct ProgramStruct* previous;
    struct ProgramStruct* nextTrue; /* null ends the program */
    struct ProgramStruct* nextFalse;
} ProgramStruct;

/* The rules of a classifier mask: its definitions, filters and programs. */
typedef struct ZELMaskParameterType {
    IOStruct IO;
    CommandStruct* FilterConditions; /* named definitions, null for none */
    CommandStruct PreClassFilters;   /* condition and class list */
    CommandStruct PostClassFilters;  /* condition and action */
    CommandStruct Comments;
    CommandStruct Title;
    ProgramLines* PostProcessProgramTextHead;
    ProgramStruct* PostProcessHead;
    ProgramLines* PreProcessProgramTextHead;
    ProgramStruct* PreProcessHead;
    int MaskType;
} ZELMaskParameterType;

#ifdef __cplusplus
}
#endif
#endif
