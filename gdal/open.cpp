#include "open.hpp"

#include <charconv>
#include <new>
#include <optional>

#include "identify.hpp"
#include "names.hpp"
#include "positions.hpp"
#include "view.hpp"

namespace zel_gdal {
namespace {

constexpr int viewOfAll = -1;

// What a name means: ZEL:"file":part, or a file. A shell takes the quotes away unless it is
// stopped.
struct Name {
    std::string file;
    bool isPart = false;
    std::optional<int> component;  // or viewOfAll
    std::optional<Coordinate> coordinate;

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
    if (!coordinate && (word == "lat" || word == "lon")) {
        coordinate = word == "lat" ? Coordinate::latitude : Coordinate::longitude;
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
                      const Directory& directory, GDALOpenInfo* info)
{
    auto view = std::make_unique<ViewDataset>(std::move(file), source);
    if (!view->open(grid, ":" + std::to_string(directory.base))) return nullptr;
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

GDALDataset* openPart(OpenedVsi file, const Name& name, GDALOpenInfo* info)
{
    Directory directory;
    if (!readDirectory(file.get(), name.file.c_str(), directory)) return nullptr;
    const int component = componentOf(name, directory);
    if (component < 0) return nullptr;
    const Header header = readHeader(file.get(), name.file.c_str(), directory.offsets[component],
                                     directory.sizes[component]);
    if (!header) return nullptr;
    if (name.coordinate)
        return openPositions(std::move(file), *header, info->pszFilename, *name.coordinate);
    Source source = {name.file, name.part(), OpenOptions::from(info->papszOpenOptions)};
    if (name.component == viewOfAll && directory.isComposite)
        return openView(std::move(file), *header, source, directory, info);
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
