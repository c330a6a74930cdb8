// What GDAL calls when it has loaded the plugin.
#include <gdal_priv.h>

#include "identify.hpp"
#include "open.hpp"

extern "C" CPL_DLL void GDALRegister_ZEL();

namespace {

void describe(GDALDriver& driver, const char* name, const char* longName, const char* extension)
{
    driver.SetDescription(name);
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

void registerZel()
{
    auto* driver = new GDALDriver();
    describe(*driver, "ZEL", "ZEL satellite scene", "zel");
    driver->SetMetadataItem(GDAL_DMD_SUBDATASETS, "YES");
    driver->SetMetadataItem(GDAL_DMD_OPENOPTIONLIST, zelOpenOptions);
    driver->pfnIdentify = zel_gdal::identifyZel;
    driver->pfnOpen = zel_gdal::openZel;
    GetGDALDriverManager()->RegisterDriver(driver);
}

}  // namespace

void GDALRegister_ZEL()
{
    if (!GDAL_CHECK_VERSION("ZEL") || GDALGetDriverByName("ZEL")) return;
    registerZel();
}
