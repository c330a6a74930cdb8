// What GDAL calls when it has loaded the plugin.
#include <gdal_priv.h>

#include "create.hpp"
#include "identify.hpp"
#include "open.hpp"
#include "remove.hpp"

extern "C" CPL_DLL void GDALRegister_ZEL();

namespace {

void describe(GDALDriver& driver, const char* name, const char* longName, const char* extension)
{
    driver.SetDescription(name);
    driver.SetMetadataItem(GDAL_DMD_HELPTOPIC, "docs/gdal.md");
    driver.SetMetadataItem(GDAL_DCAP_RASTER, "YES");
    driver.SetMetadataItem(GDAL_DCAP_VIRTUALIO, "YES");
    driver.SetMetadataItem(GDAL_DMD_LONGNAME, longName);
    driver.SetMetadataItem(GDAL_DMD_EXTENSION, extension);
    driver.SetMetadataItem(GDAL_DMD_EXTENSIONS, extension);
}

constexpr const char* zelOpenOptions = "<OpenOptionList>"
                                       "<Option name='UNSCALE' type='boolean' default='NO' "
                                       "description='Values in the units of the channels, "
                                       "Float32, in the place of stored numbers'/>"
                                       "<Option name='COLOR_TABLE' type='boolean' default='NO' "
                                       "description='Show channels that are no class maps "
                                       "in the colours of their display LUT too'/>"
                                       "<Option name='GCPS' type='boolean' default='NO' "
                                       "description='Positions of some pixels as ground control "
                                       "points too'/>"
                                       "</OpenOptionList>";

constexpr const char* zelCreationOptions =
    "<CreationOptionList>"
    "<Option name='YEAR' type='int' description='Year of the scene'/>"
    "<Option name='JULIAN' type='int' description='Day of the year, 1 to 366'/>"
    "<Option name='SCANTIME' type='float' description='Time of the first line, hours of the day in "
    "UT'/>"
    "<Option name='LINE_TIME' type='float' description='Seconds from line to line'/>"
    "<Option name='SATELLITE' type='int' description='Number of the satellite'/>"
    "<Option name='DATATYPE' type='string' description='Sensor: its name or code'/>"
    "<Option name='ALTITUDE' type='float' description='Altitude of the satellite, km'/>"
    "<Option name='RESOLUTION' type='float' description='Spatial resolution, metres'/>"
    "<Option name='COMMENT' type='string' description='Comment of the file'/>"
    "<Option name='METADATA' type='string' description='Metadata text of the file'/>"
    "<Option name='NAV_INTERVAL' type='int' default='10' description='Pixels between navigation "
    "points'/>"
    "<Option name='HISTOGRAMS' type='boolean' default='YES' description='Keep a histogram of each "
    "channel'/>"
    "</CreationOptionList>";

void registerZel()
{
    auto* driver = new GDALDriver();
    describe(*driver, "ZEL", "ZEL satellite scene", "zel");
    driver->SetMetadataItem(GDAL_DMD_SUBDATASETS, "YES");
    driver->SetMetadataItem(GDAL_DMD_OPENOPTIONLIST, zelOpenOptions);
    driver->SetMetadataItem(GDAL_DMD_CREATIONOPTIONLIST, zelCreationOptions);
    driver->SetMetadataItem(GDAL_DMD_CREATIONDATATYPES,
                            "Byte UInt16 Int16 Float32 UInt32 Int32 Float64");
    driver->pfnIdentify = zel_gdal::identifyZel;
    driver->pfnOpen = zel_gdal::openZel;
    driver->pfnCreateCopy = zel_gdal::createZel;
    driver->pfnDelete = zel_gdal::removeZel;
    GetGDALDriverManager()->RegisterDriver(driver);
}

constexpr const char* vornOpenOptions = "<OpenOptionList>"
                                        "<Option name='HEADER' type='string' description='Text "
                                        "header with the names of the channels; FILE.hdr "
                                        "without this option'/>"
                                        "</OpenOptionList>";

constexpr const char* vornCreationOptions = "<CreationOptionList>"
                                            "<Option name='BYTE_ORDER' type='string-select' "
                                            "default='LSB' description='Byte order of the header'>"
                                            "<Value>LSB</Value><Value>MSB</Value>"
                                            "</Option>"
                                            "</CreationOptionList>";

void registerVorn()
{
    auto* driver = new GDALDriver();
    describe(*driver, "VORN", "Vorn raster of floats", "vorn");
    driver->SetMetadataItem(GDAL_DMD_OPENOPTIONLIST, vornOpenOptions);
    driver->SetMetadataItem(GDAL_DMD_CREATIONOPTIONLIST, vornCreationOptions);
    driver->SetMetadataItem(GDAL_DMD_CREATIONDATATYPES,
                            "Float32 Byte UInt16 Int16 UInt32 Int32 Float64");
    driver->pfnIdentify = zel_gdal::identifyVorn;
    driver->pfnOpen = zel_gdal::openVorn;
    driver->pfnCreateCopy = zel_gdal::createVorn;
    GetGDALDriverManager()->RegisterDriver(driver);
}

}  // namespace

void GDALRegister_ZEL()
{
    if (!GDAL_CHECK_VERSION("ZEL")) return;
    if (!GDALGetDriverByName("ZEL")) registerZel();
    if (!GDALGetDriverByName("VORN")) registerVorn();
}
