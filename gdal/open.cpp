#include "open.hpp"

#include <charconv>
#include <new>
#include <optional>

#include "angles.hpp"
#include "identify.hpp"
#include "names.hpp"
#include "positions.hpp"
#include "scan.hpp"
#include "view.hpp"

namespace zel_gdal {
namespace {

constexpr int viewOfAll = -1;

// What there is besides the pixels.
enum class Extra { none, latitude, longitude, angles, lines };

struct ExtraName {
    const char* word;
    Extra extra;
};
constexpr ExtraName extraNames[] = {{"lat", Extra::latitude},
                                    {"lon", Extra::longitude},
                                    {"angles", Extra::angles},
                                    {"lines", Extra::lines}};

// What a name means: ZEL:"file":part, or a file. A shell takes the quotes away unless it is
// stopped.
struct Name {
    std::string file;
    bool isPart = false;
    std::optional<int> component;  // or viewOfAll
    Extra extra = Extra::none;

    explicit Name(const std::string& text);
    std::string part() const;

private:
    std::string takeLast();
    bool understand(const std::string& word);
};

std::string Name::takeLast()
{
    const auto colon = file.rfind(':');
    const auto quote = file.rfind('"');
    if (colon == std::string::npos || (quote != std::string::npos && colon < quote)) return "";
    return file.substr(colon + 1);
}

bool Name::understand(const std::string& word)
{
    if (component) return false;
    for (const ExtraName& name : extraNames) {
        if (extra != Extra::none || word != name.word) continue;
        extra = name.extra;
        return true;
    }
    int number = 0;
    const auto end = std::from_chars(word.data(), word.data() + word.size(), number);
    const bool isNumber =
        !word.empty() && end.ec == std::errc() && end.ptr == word.data() + word.size();
    if (word == "view")
        component = viewOfAll;
    else if (isNumber && number >= 0)
        component = number;
    return component.has_value();
}

Name::Name(const std::string& text) : file(text)
{
    if (!STARTS_WITH_CI(text.c_str(), "ZEL:")) return;
    isPart = true;
    file.erase(0, 4);
    for (std::string word = takeLast(); understand(word); word = takeLast())
        file.erase(file.size() - word.size() - 1);
    if (file.size() > 1 && file.front() == '"' && file.back() == '"')
        file = file.substr(1, file.size() - 2);
}

std::string Name::part() const
{
    if (!component) return "";
    return *component == viewOfAll ? ":view" : ":" + std::to_string(*component);
}

OpenedVsi takeFile(GDALOpenInfo* info, const Name& name)
{
    OpenedVsi file(info->fpL);
    info->fpL = nullptr;
    if (!name.isPart) return file;
    file.reset(VSIFOpenL(name.file.c_str(), "rb"));
    if (!file) CPLError(CE_Failure, CPLE_OpenFailed, "%s: cannot be opened", name.file.c_str());
    return file;
}

void nameSubdatasets(GDALDataset& dataset, const std::string& file, const Directory& directory)
{
    CPLStringList list;
    const auto add = [&](const std::string& part, const std::string& text) {
        const int number = list.size() / 2 + 1;
        list.SetNameValue(CPLSPrintf("SUBDATASET_%d_NAME", number),
                          ("ZEL:\"" + file + "\":" + part).c_str());
        list.SetNameValue(CPLSPrintf("SUBDATASET_%d_DESC", number), text.c_str());
    };
    for (int i = 0; i < directory.count; ++i) {
        const std::string number = std::to_string(i);
        add(number, "component " + number + ", " + shown(directory.resolutions[i]) + " m");
    }
    add("view", "all components on the grid of component " + std::to_string(directory.base));
    dataset.GDALMajorObject::SetMetadata(list.List(), "SUBDATASETS");
}

GDALDataset* openView(OpenedVsi file, ZELType& grid, const Source& source,
                      const std::string& positionPart, GDALOpenInfo* info)
{
    auto view = std::make_unique<ViewDataset>(std::move(file), source);
    if (!view->open(grid, positionPart)) return nullptr;
    view->finishOpening(info, info->pszFilename);
    return view.release();
}

// Which component has the pixels or positions; -1 after a CPLError.
int componentOf(const Name& name, const Directory& directory)
{
    if (!name.component) return directory.finest();
    const int component = *name.component == viewOfAll ? directory.base : *name.component;
    if (component < directory.count) return component;
    CPLError(CE_Failure, CPLE_AppDefined, "%s: has no component %d; there are 0 to %d",
             name.file.c_str(), component, directory.count - 1);
    return -1;
}

// What is not pixels, of a component.
GDALDataset* openExtra(OpenedVsi file, const Name& name, ZELType& header,
                       const Component& component, GDALOpenInfo* info)
{
    switch (name.extra) {
    case Extra::latitude:
        return openPositions(std::move(file), header, name.file, Coordinate::latitude, info);
    case Extra::longitude:
        return openPositions(std::move(file), header, name.file, Coordinate::longitude, info);
    case Extra::angles:
        return openAngles(std::move(file), header, name.file, component, info);
    default:
        return openScan(std::move(file), header, name.file, component.part, info);
    }
}

GDALDataset* openPart(OpenedVsi file, const Name& name, GDALOpenInfo* info)
{
    Directory directory;
    if (!readDirectory(file.get(), name.file.c_str(), directory)) return nullptr;
    const int number = componentOf(name, directory);
    if (number < 0) return nullptr;
    const bool isView = name.component == viewOfAll && directory.isComposite;
    const Component component = {isView ? ":" + std::to_string(number) : name.part(),
                                 directory.offsets[number], directory.sizes[number]};
    const Header header =
        readHeader(file.get(), name.file.c_str(), component.offset, component.size);
    if (!header) return nullptr;
    if (name.extra != Extra::none)
        return openExtra(std::move(file), name, *header, component, info);
    Source source = {name.file, name.part(), OpenOptions::from(info->papszOpenOptions)};
    if (isView) return openView(std::move(file), *header, source, component.part, info);
    auto dataset = std::make_unique<PlainDataset>(std::move(file), source);
    if (!dataset->open(*header)) return nullptr;
    if (directory.isComposite && !name.isPart) nameSubdatasets(*dataset, name.file, directory);
    dataset->finishOpening(info, info->pszFilename);
    return dataset.release();
}

}  // namespace

GDALDataset* openZel(GDALOpenInfo* info)
{
    if (!identifyZel(info)) return nullptr;
    if (info->eAccess == GA_Update) {
        CPLError(CE_Failure, CPLE_NotSupported, "%s: files of this format cannot be updated",
                 info->pszFilename);
        return nullptr;
    }
    try {
        const Name name(info->pszFilename);
        OpenedVsi file = takeFile(info, name);
        return file ? openPart(std::move(file), name, info) : nullptr;
    } catch (const std::bad_alloc&) {
        CPLError(CE_Failure, CPLE_OutOfMemory, "%s: cannot allocate memory", info->pszFilename);
        return nullptr;
    }
}

}  // namespace zel_gdal
