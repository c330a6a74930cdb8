/* The records of the library: a file, its header, its channels and the blocks they carry. */
#ifndef ZEL_TYPES_H
#define ZEL_TYPES_H

#include <stdint.h>
#include <stdio.h>

#ifdef __cplusplus
extern "C" {
#endif

/* Version of the layout that this library writes, as a number and as the prefix's text. */
#define ZEL_LIBRARY_VERSION 2.3f
#define ZEL_LIBRARY_VERSION_TEXT "2.3"

/* Sizes of the format. Text sizes are bytes on disk; a text buffer in memory holds one byte more
   for the terminator, channel texts excepted (their 120 bytes include it). */
enum {
    ZEL_MAX_CHANNELS = 1000,      /* channel slots of a record */
    ZEL_MAX_COMPONENTS = 100,     /* entries of a composite's directory */
    ZEL_FILENAME_SIZE = 240,      /* bytes of ImageFilename, terminator included */
    ZEL_COMMENT_SIZE = 2000,      /* DataComment */
    ZEL_METADATA_SIZE = 20000,    /* MetaDataText */
    ZEL_CHANNEL_TEXT_SIZE = 120,  /* ChannelLabel and ChannelComment, terminator included */
    ZEL_LABEL_SIZE = 200,         /* labels of LUTs, LUT entries and tables */
    compositeHeaderOffset = 1221, /* length of the prefix, where the first header begins */
    compositeVersionOffset = 13   /* place of the base component index in the prefix */
};

/* The magic of a prefix: the three characters "ZEL". */
extern const char* const ZELString;

/* Storage codes of a channel (Type). Scaled codes spread MinValue..MaxValue over the raw range. */
enum {
    ZEL_STORED_BYTE_SCALED = 1,
    ZEL_STORED_UINT16_SCALED = 2,
    ZEL_STORED_BYTE = 3,
    ZEL_STORED_FLOAT = 4,
    ZEL_STORED_UINT16 = 5
};

/* Units of a channel's values (Units). */
enum {
    ZEL_UNITS_NONE = 0,
    ZEL_UNITS_KELVIN = 1,
    ZEL_UNITS_PERCENT_ALBEDO = 2,
    ZEL_UNITS_REFLECTANCE = 3,
    ZEL_UNITS_CELSIUS = 4,
    ZEL_UNITS_LUT = 5,
    ZEL_UNITS_DAYTIME = 6,
    ZEL_UNITS_RADIANCE = 7 /* W/m^2/micron/steradian */
};

/* Sensor codes of a file (DataType). */
enum {
    ZEL_SENSOR_GENERIC = 0,
    ZEL_SENSOR_AVHRR_LAC = 1,
    ZEL_SENSOR_AVHRR_GAC = 2,
    ZEL_SENSOR_MAS = 3,
    ZEL_SENSOR_VIRS = 4,
    ZEL_SENSOR_LANDSAT_TM = 5,
    ZEL_SENSOR_GOES = 6,
    ZEL_SENSOR_MODIS = 7,
    ZEL_SENSOR_ASTER = 8,
    ZEL_SENSOR_CIRROVUE_VIRS = 9,
    ZEL_SENSOR_CIRROVUE_MODIS = 10,
    ZEL_SENSOR_LANDSAT_MSS = 11,
    ZEL_SENSOR_IKONOS = 12,
    ZEL_SENSOR_UNSUPPORTED = 13
};

/* ReadWriteFlag of a file record. */
enum { ZEL_READ_ONLY = 1, ZEL_WRITE_ONLY = 2 };

/* samplingFlag of a component: how its grid relates to the view's. */
enum { ZEL_SAMPLING_SAME = 0, ZEL_SAMPLING_AVERAGE = 1, ZEL_SAMPLING_REPLICATE = 2 };

/* One colour and label of a display LUT. */
typedef struct ZELLUTType {
    unsigned char R, G, B; /* 0..255 */
    char LUTEntryLabel[ZEL_LABEL_SIZE + 1];
} ZELLUTType;

/* A display LUT: how a viewer paints the values of a class or index channel. */
typedef struct ZELDisplayLUTType {
    int16_t NumLUTValues;
    int16_t DisplayLUTKeyValue; /* unique in a file when added through ZELAddLUT */
    char DisplayLUTLabel[ZEL_LABEL_SIZE + 1];
    ZELLUTType* DisplayLUT; /* NumLUTValues entries, indexed by value (and one spare) */
    struct ZELDisplayLUTType* NextDisplayLUT;
} ZELDisplayLUTType;

/* A named, keyed array of floats, such as a calibration curve. */
typedef struct TableType {
    int16_t TableKeyValue; /* unique in a list when added through ZELAddTable */
    int16_t NumTableValues;
    char TableLabel[ZEL_LABEL_SIZE + 1];
    float* Table; /* NumTableValues values (and one spare) */
    struct TableType* NextTable;
} TableType;

typedef struct TableListType {
    int32_t TableStartOffset; /* where the block was last written, bytes from the stream's start */
    int16_t NumTables;
    TableType* TableHead; /* stale after ZELFreeTables: rely on NumTables */
} TableListType;

/* Histogram of a channel's values. Bin i begins at Min + i / BinIncrement. */
typedef struct ZELHistogramType {
    int16_t NumHistogramBins;
    float Max, Min;
    float BinIncrement; /* bins per unit of value: (NumHistogramBins - 1) / (Max - Min) */
    float Mean, Sigma;  /* computed when the histogram is read from a file */
    float NumPixels;    /* values counted */
    int32_t* Histogram; /* NumHistogramBins counts (and one spare) */
    int32_t fileOffset; /* place of the record, relative to the start of the file's own data */
} ZELHistogramType;

/* A classifier mask that a channel can carry; its content belongs to the feature layer. */
typedef struct ZELFeatureMaskType ZELFeatureMaskType;

typedef struct ZELHeaderType {
    int16_t DataType;
    int16_t year;
    int16_t julian; /* day of year, 1..366 */
    int16_t sat_no;
    float VersionNumber;
    int16_t NPixelPerLine;
    int16_t MaxNumChan;       /* channel slots in the file, 1..1000 */
    int32_t NumNavPoints;     /* navigation points per line */
    int32_t NavPointInterval; /* pixels between navigation points */
    int32_t StartNavPoint;    /* pixel index of the first navigation point */
    float SatelliteAltitude;  /* km */
    float SpatialResolution;  /* metres */
    char DataComment[ZEL_COMMENT_SIZE + 1];
    char MetaDataText[ZEL_METADATA_SIZE + 1];
    int32_t MetaDataType;
    int32_t MetaDataSize; /* bytes of MetaDataText in use */
    int16_t NumDisplayLUTs;
    ZELDisplayLUTType* DisplayLUTHead;
    TableListType TableList;
    int16_t SZChannelIndex, VZChannelIndex, AZChannelIndex; /* angle channels, -1 for none */
} ZELHeaderType;

typedef struct ZELChannelType {
    int32_t ChannelPresentFlag;
    float MaxValue, MinValue; /* scale range */
    int32_t Type;             /* storage code */
    int32_t Units;
    int32_t DataByteSize; /* bytes per stored pixel: 1, 2 or 4 */
    int32_t DataBitResolution;
    int32_t DataOffset; /* place of the channel's pixels inside a line record */
    char ChannelLabel[ZEL_CHANNEL_TEXT_SIZE];
    char ChannelComment[ZEL_CHANNEL_TEXT_SIZE];
    int32_t UpdateChannelHistogramFlag;
    ZELHistogramType* ChannelHistogram;
    ZELHistogramType* ChannelStandardHistogram;
    float* ChannelData;      /* float[NPixelPerLine]: the current line, in Units */
    float* ChannelLUT;       /* raw value to value: float[256] or float[65536], codes 1 and 2 */
    float ChannelWaveLength; /* microns */
    int32_t BaseChannelFlag;
    int32_t LoadChannelFlag; /* ChannelData holds a line that is still to be encoded */
    ZELFeatureMaskType* Mask;
    TableListType TableList;
} ZELChannelType;

/* A file, a component of a composite, or a composite view. The caller owns the record from open or
   init to finish; the library owns everything that it points to. */
typedef struct ZELType {
    char ImageFilename[ZEL_FILENAME_SIZE];
    ZELHeaderType ZELHeader;
    ZELChannelType Channels[ZEL_MAX_CHANNELS];
    /* The current line, one element per pixel; angles and positions in degrees. */
    float* SolarZenith;
    float* ViewZenith;
    float* Azimuth;
    float* Lat;
    float* Lon;
    float* Sunglint; /* 0..100 */
    unsigned char* OlsonEcosystem;
    unsigned char* PercentWater;
    unsigned char* IGBPEcosystem;
    unsigned char* Terrain;
    FILE* fptr;
    double ScanTime;    /* of the current line, hours of the day, UT */
    float ScanAltitude; /* of the current line, km; 0 when unknown */
    int32_t NavPointIncrement;
    int32_t NavOffset;      /* bytes of a line record before its pixels */
    int32_t LineOffset;     /* bytes of a line record */
    int32_t HeaderOffset;   /* where line 0 begins, from fileOffset */
    int32_t LUTStartOffset; /* where the LUT block was written */
    int32_t CurrentLine;    /* next line to read or write */
    int32_t PreviousLine;   /* line that the buffers hold; -2 after an open */
    float* LatBuffer;       /* float[NumNavPoints] of the current line, null without points */
    float* LonBuffer;
    int32_t NumLines;
    unsigned char* PixBuf[ZEL_MAX_CHANNELS]; /* stored form of each channel's current line */
    float Pixel[ZEL_MAX_CHANNELS];
    int32_t ReadWriteFlag;
    int32_t NumTotalChans; /* present channels */
    int32_t FileOpened;
    int32_t WritePrompt; /* ask before overwriting */
    int32_t LatLonInterpolated;
    int32_t SolarAnglesCalculated;
    int32_t HistogramFlag;
    int32_t LeftPixel, RightPixel, NadirPixel; /* of the current line */
    float NadirLat, NadirLon;                  /* of the current line, degrees */
    int32_t fileOffset;                        /* where this file or component starts */
    int32_t baseZELComponent;
    int32_t samplingFlag;
    int32_t samplingFactor;
    int32_t isComponent;
    int32_t numZELComponents;
    struct ZELType* ZELComponent; /* numZELComponents records of a composite view */
    void* Internal;               /* the library's own */
} ZELType;

#ifdef __cplusplus
}
#endif
#endif
