// SPDX-License-Identifier: MIT
// Which layout a folder has, and its images by it.
#include "host/evaluate/evaluation_set.h"

#include <algorithm>
#include <array>
#include <map>
#include <optional>
#include <string_view>

#include <nlohmann/json.hpp>

#include "host/counted.h"
#include "host/evaluate/box_files.h"
#include "host/file/input_file.h"
#include "host/image/image_header.h"
#include "host/limits.h"
#include "host/problem.h"
#include "host/recipe/recipe_file.h"

namespace narvo
{

namespace
{

namespace fs = std::filesystem;

// Ends of the stems of pairs.
constexpr std::string_view szReference = "_temp";
constexpr std::string_view szTested = "_test";

std::string LowerEnding(const fs::path& file)
{
    std::string ending = file.extension().string();
    std::transform(ending.begin(), ending.end(), ending.begin(),
                   [](unsigned char letter) { return static_cast<char>(std::tolower(letter)); });
    return ending;
}

/// Regular files of a folder that is there, by name.
std::vector<fs::path> FilesIn(const fs::path& folder)
{
    std::vector<fs::path> files;
    std::error_code error;
    for (fs::directory_iterator entry(folder, error), end; !error && entry != end; entry.increment(error))
    {
        std::error_code ignored;
        if (entry->is_regular_file(ignored) && !entry->path().filename().string().starts_with('.'))
            files.push_back(entry->path());
    }
    std::sort(files.begin(), files.end());
    return files;
}

std::vector<fs::path> ImagesIn(const fs::path& folder)
{
    std::vector<fs::path> files = FilesIn(folder);
    std::erase_if(files, [](const fs::path& file) { return !HasImageEnding(file); });
    return files;
}

class SetReader
{
public:
    explicit SetReader(const fs::path& folder) : m_folder(folder) {}

    EvaluationSet Read()
    {
        std::error_code error;
        if (!fs::is_directory(m_folder, error))
            throw HostError({{"set " + m_folder.string(), "no such folder", "a folder with images"}});
        if (fs::is_directory(m_folder / "good", error) && fs::is_directory(m_folder / "defective", error))
            ReadMasks();
        else if (!ReadPairs() && !ReadCoco() && !ReadVoc() && !ReadLabels())
        {
            RequireWholeJson();
            throw HostError({{"set " + m_folder.string(), "no known layout",
                              "good, defective and mask folders, NAME_temp and NAME_test images with NAME.txt, or "
                              "images with boxes as COCO, Pascal VOC, YOLO or text files"}});
        }
        ThrowIfAny(std::move(m_found));
        Check();
        return std::move(m_set);
    }

private:
    void Check() const
    {
        std::size_t boxes = 0;
        for (const SetImage& image : m_set.images)
            boxes += image.boxes.size();
        if (m_set.images.empty() || m_set.images.size() > nSetImageLimit)
            throw HostError({{"set " + m_folder.string(), std::to_string(m_set.images.size()) + " images",
                              "1 to " + std::to_string(nSetImageLimit) + " images"}});
        if (boxes > nTrueBoxLimit)
            throw HostError({{"set " + m_folder.string(), std::to_string(boxes) + " boxes",
                              "at most " + std::to_string(nTrueBoxLimit) + " boxes"}});
    }

    /// The image of a folder with a stem, whatever its ending; of several the first by name.
    std::optional<fs::path> ImageBeside(const fs::path& folder, const std::string& stem)
    {
        const auto [of, isNew] = m_stems.try_emplace(folder);
        if (isNew)
            for (const fs::path& file : ImagesIn(folder))
                of->second.emplace(file.stem().string(), file);
        const auto found = of->second.find(stem);
        return found == of->second.end() ? std::nullopt : std::optional(found->second);
    }

    SetImage& Add(const fs::path& file, bool defective)
    {
        SetImage& image = m_set.images.emplace_back();
        image.name = file.lexically_relative(m_folder).string();
        image.file = file;
        image.defective = defective;
        return image;
    }

    void AddBoxed(const fs::path& file, std::vector<TrueBox> boxes)
    {
        SetImage& image = Add(file, !boxes.empty());
        image.boxes = std::move(boxes);
    }

    template <typename Step>
    void Try(Step step)
    {
        try
        {
            step();
        }
        catch (const HostError& error)
        {
            m_found.insert(m_found.end(), error.Problems().begin(), error.Problems().end());
        }
    }

    /// The folders where images and annotations may lie.
    std::vector<fs::path> ImageFolders() const { return {m_folder, m_folder / "images"}; }
    std::vector<fs::path> LabelFolders() const { return {m_folder, m_folder / "labels", m_folder / "annotations"}; }

    void ReadMasks()
    {
        m_set.layout = "good, defective and mask folders";
        for (const fs::path& file : ImagesIn(m_folder / "good"))
            Add(file, false);
        const auto addKind = [&](const std::string& kind)
        {
            for (const fs::path& file : ImagesIn(m_folder / "defective" / kind))
            {
                SetImage& image = Add(file, true);
                image.kind = kind.empty() ? "defective" : kind;
                if (const auto mask = ImageBeside(m_folder / "mask" / kind, file.stem().string()))
                    image.mask = *mask;
            }
        };
        addKind("");
        std::vector<std::string> kinds;
        std::error_code error;
        for (fs::directory_iterator entry(m_folder / "defective", error), end; !error && entry != end;
             entry.increment(error))
            if (std::error_code ignored; entry->is_directory(ignored))
                kinds.push_back(entry->path().filename().string());
        std::sort(kinds.begin(), kinds.end());
        for (const std::string& kind : kinds)
            addKind(kind);
    }

    bool ReadPairs()
    {
        for (const fs::path& file : ImagesIn(m_folder))
        {
            const std::string stem = file.stem().string();
            if (!stem.ends_with(szReference) || stem.size() == szReference.size())
                continue;
            const std::string name = stem.substr(0, stem.size() - szReference.size());
            const auto image = ImageBeside(m_folder, name + std::string(szTested));
            if (!image)
            {
                m_found.push_back({"set " + file.string(), "no " + name + "_test", "an image to compare with it"});
                continue;
            }
            Try(
                [&]
                {
                    AddBoxed(*image, ReadBoxLines(m_folder / (name + ".txt")));
                    m_set.images.back().reference = file;
                });
        }
        m_set.layout = "pairs of reference and image with boxes";
        return !m_set.images.empty() || !m_found.empty();
    }

    bool ReadCoco()
    {
        for (const fs::path& folder : LabelFolders())
            for (const fs::path& file : FilesIn(folder))
                if (LowerEnding(file) == ".json")
                    AddCoco(file);
        m_set.layout = "boxes as COCO";
        return !m_set.images.empty() || !m_found.empty();
    }

    static void RequireJson(const fs::path& file)
    {
        const std::string name = "boxes " + file.string();
        ParseJsonText(ReadShortFile(file, name, nSetByteLimit), name, nSetByteLimit);
    }

    /// A folder that has no other layout may be meant as COCO's with a damaged file.
    void RequireWholeJson() const
    {
        for (const fs::path& folder : LabelFolders())
            for (const fs::path& file : FilesIn(folder))
                if (LowerEnding(file) == ".json")
                    RequireJson(file);
    }

    void AddCoco(const fs::path& annotations)
    {
        Try(
            [&]
            {
                auto coco = ReadCocoBoxes(annotations);
                if (!coco)
                    return;
                for (auto& [name, boxes] : *coco)
                {
                    std::error_code error;
                    const auto folders = ImageFolders();
                    const auto found = std::find_if(folders.begin(), folders.end(),
                                                    [&, &of = name](const fs::path& folder)
                                                    { return fs::is_regular_file(folder / of, error); });
                    const fs::path of(name);
                    if (found == folders.end() || of.is_absolute() || std::find(of.begin(), of.end(), "..") != of.end())
                        m_found.push_back({"boxes " + annotations.string(), "image " + name + " is not there",
                                           "images in the folder or in its images"});
                    else if (const auto [by, isNew] = m_annotated.emplace(*found / name, annotations); !isNew)
                        m_found.push_back({"boxes " + annotations.string(),
                                           "image " + name + " is also in " + by->second.string(),
                                           "each image in one file"});
                    else
                        AddBoxed(*found / name, std::move(boxes));
                }
            });
    }

    bool ReadVoc()
    {
        for (const fs::path& folder : LabelFolders())
            for (const fs::path& file : FilesIn(folder))
                if (LowerEnding(file) == ".xml")
                    Try([&] { AddVoc(file); });
        m_set.layout = "boxes as Pascal VOC";
        return !m_set.images.empty() || !m_found.empty();
    }

    void AddVoc(const fs::path& annotation)
    {
        std::string named;
        std::vector<TrueBox> boxes = ReadVocBoxes(annotation, named);
        for (const fs::path& folder : ImageFolders())
        {
            const fs::path file = folder / fs::path(named).filename();
            std::error_code error;
            if (!named.empty() && fs::is_regular_file(file, error))
                return AddBoxed(file, std::move(boxes));
            if (const auto beside = ImageBeside(folder, annotation.stem().string()))
                return AddBoxed(*beside, std::move(boxes));
        }
        m_found.push_back(
            {"boxes " + annotation.string(), "its image is not there", "images in the folder or in its images"});
    }

    /// YOLO's lines, or boxes in pixels; images without a file are good.
    bool ReadLabels()
    {
        std::map<std::string, fs::path> labels; // by stem
        std::vector<std::string> classes;
        for (const fs::path& folder : LabelFolders())
            for (const fs::path& file : FilesIn(folder))
                if (file.filename() == "classes.txt")
                    Try([&] { classes = ReadClassNames(file); });
                else if (LowerEnding(file) == ".txt")
                    labels.emplace(file.stem().string(), file);
        std::map<std::string, fs::path> images; // by stem
        for (const fs::path& folder : ImageFolders())
            for (const fs::path& file : ImagesIn(folder))
                images.emplace(file.stem().string(), file);
        const auto labelOf = [&](const std::string& stem)
        {
            const auto label = labels.find(stem);
            return label != labels.end() || !stem.ends_with(szTested)
                       ? label
                       : labels.find(stem.substr(0, stem.size() - szTested.size()));
        };
        // A line that does not fit is refused: it must not change what all others mean.
        bool shares = !classes.empty();
        bool any = false;
        for (const auto& [stem, file] : images)
            if (const auto label = labelOf(stem); label != labels.end())
                Try(
                    [&, &of = label->second]
                    {
                        any = true;
                        shares = shares || HoldsYoloLines(of);
                    });
        if (!any)
            return false;
        m_set.layout = shares ? "boxes as YOLO" : "text files with boxes";
        for (const auto& [stem, file] : images)
            Try(
                [&, &key = stem, &image = file]
                {
                    const auto label = labelOf(key);
                    if (label == labels.end())
                        return AddBoxed(image, {});
                    if (!shares)
                        return AddBoxed(image, ReadBoxLines(label->second));
                    const std::optional<ImageHeader> header = ReadImageHeader(image);
                    if (!header)
                        throw HostError({{"image " + image.string(), "not an image, or damaged", "an image file"}});
                    AddBoxed(image, ReadYoloLines(label->second, static_cast<int>(header->width),
                                                  static_cast<int>(header->height), classes));
                });
        return true;
    }

    fs::path m_folder;
    EvaluationSet m_set;
    std::map<fs::path, std::map<std::string, fs::path>> m_stems; ///< images by folder and stem
    std::map<fs::path, fs::path> m_annotated;                    ///< COCO's file by image
    std::vector<Problem> m_found;
};

} // namespace

EvaluationSet ReadEvaluationSet(const fs::path& folder)
{
    return SetReader(folder).Read();
}

std::vector<SetImage> TakeGoodImages(EvaluationSet& set, std::size_t count, const std::string& field)
{
    std::vector<const SetImage*> good;
    for (const SetImage& image : set.images)
        if (!image.defective)
            good.push_back(&image);
    const std::size_t most = std::min(good.size(), set.images.size() - 1);
    if (count < 1 || count > most)
        throw HostError(
            {{field, std::to_string(count),
              most == 0 ? "a set with good images and others to measure"
                        : "1 to " + std::to_string(most) + ", since the set has " + Counted(good.size(), "good image") +
                              " of " + std::to_string(set.images.size())}});
    std::sort(good.begin(), good.end(), [](const SetImage* a, const SetImage* b) { return a->name < b->name; });
    good.resize(count);
    std::vector<SetImage> taken;
    for (const SetImage* image : good)
        taken.push_back(*image);
    std::erase_if(set.images,
                  [&](const SetImage& image) {
                      return std::any_of(taken.begin(), taken.end(),
                                         [&](const SetImage& each) { return each.file == image.file; });
                  });
    return taken;
}

} // namespace narvo
