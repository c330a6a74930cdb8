// A file, or a component of one, as a dataset: a band per channel, and what the header says.
#pragma once

#include <string>

#include "bands.hpp"
#include "library.hpp"
#include "navigation.hpp"

namespace zel_gdal {

// A file that the dataset closes, or another one that is given.
struct CloseVsi {
    void operator()(VSILFILE* file) const { VSIFCloseL(file); }
};
using OpenedVsi = std::unique_ptr<VSILFILE, CloseVsi>;

// What a dataset is opened from: the file, as GDAL names it, and which part of it.
struct Source {
    std::string file;
    std::string
        part;  // "", ":1" or ":view": what comes after the quoted name in names of subdatasets
    OpenOptions options;
};

// What all datasets of a scene have: positions and metadata.
class SceneDataset : public RawDataset {
public:
    SceneDataset(OpenedVsi file, const Source& source);
    ~SceneDataset() override;

    CPLErr GetGeoTransform(double* transform) override;
    const OGRSpatialReference* GetSpatialRef() const override;
    int GetGCPCount() override;
    const GDAL_GCP* GetGCPs() override;
    const OGRSpatialReference* GetGCPSpatialRef() const override;
    char** GetFileList() override;

    // Looks for files beside the scene's. The last step of an open.
    void finishOpening(GDALOpenInfo* info, const char* name);

protected:
    // Size, positions and metadata from the header of the grid. positionPart names the part that
    // has the arrays of positions.
    bool describe(ZELType& record, const std::string& positionPart);
    VSILFILE* file() const { return file_.get(); }
    const LinePlaces& places() const { return places_; }
    const Source& source() const { return source_; }

private:
    void describeHeader(ZELType& record);
    void describeTimes(ZELType& record);
    void describeNadir(ZELType& record);
    void describeAngles(ZELType& record);
    void describePositions(const std::string& name);
    void takeControlPoints();
    void set(const char* name, const std::string& value, const char* domain = "");
    template <class T>
    bool readOfLine(ZELType& record, const char* field, int line, T& value) const;

    Source source_;
    OpenedVsi file_;
    LinePlaces places_;
    Navigation navigation_;
    OGRSpatialReference wgs84_;
    std::vector<GDAL_GCP> controlPoints_;
    bool hasLookedForGrid_ = false;
    bool isNorthUp_ = false;
    double transform_[6] = {0, 1, 0, 0, 0, 1};
};

// A plain file, or a component.
class PlainDataset final : public SceneDataset {
public:
    PlainDataset(OpenedVsi file, const Source& source);

    // Bands of the header's channels. False after a CPLError.
    bool open(ZELType& record);

private:
    void addBand(ZELType& record, int slot);
};

// Where the lines of a file are.
LinePlaces linePlaces(ZELType& record);

// False after a CPLError: the file ends before its first line does.
bool hasLines(const ZELType& record, const std::string& file);

// Whether a file has all three angles as channels.
bool storesAngles(const ZELType& record);
// Whether there are angles: stored, or to be computed.
bool hasAngles(const ZELType& record);

// The list, which it takes, with the scene's file in it: descriptions of parts are no names of
// files.
char** sceneFiles(char** list, const std::string& file);

}  // namespace zel_gdal
