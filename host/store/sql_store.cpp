// SPDX-License-Identifier: MIT
// Statements of the store.
#include "host/store/sql_store.h"

#include <algorithm>
#include <array>
#include <numeric>
#include <utility>

#include <nlohmann/json.hpp>

#include "host/file/name_text.h"
#include "host/problem.h"
#include "host/store/blob_columns.h"

namespace narvo
{

namespace
{

constexpr const char* szStoredInspected = "inspected";
constexpr const char* szStoredRefused = "refused";

/// Text of any bytes as UTF-8 without a byte 0.
std::string StoredText(std::string_view text)
{
    return NameToText(text, true);
}

std::string FromStored(const std::string& text)
{
    return NameFromText(text, true);
}

std::int64_t Whole(auto number)
{
    return static_cast<std::int64_t>(number);
}

int NarrowInt(std::int64_t number)
{
    return static_cast<int>(number);
}

struct ColumnNames
{
    std::string names;
    int count = 0;
    void Add(const char* name)
    {
        names += std::string(count == 0 ? "" : ", ") + '"' + name + '"';
        ++count;
    }
    void Number(const char* name, int) { Add(name); }
    void Flag(const char* name, bool) { Add(name); }
    void Real(const char* name, double) { Add(name); }
    void Polarity(const char* name, bool) { Add(name); }
    void Channel(const char* name, int) { Add(name); }
};

struct ColumnValues
{
    std::vector<SqlValue>& values;
    void Number(const char*, int value) { values.emplace_back(Whole(value)); }
    void Flag(const char*, bool value) { values.emplace_back(Whole(value)); }
    void Real(const char*, double value) { values.emplace_back(value); }
    void Polarity(const char*, bool bright) { values.emplace_back(std::string(bright ? "bright" : "dark")); }
    void Channel(const char*, int channel) { values.emplace_back(std::string(ChannelName(channel))); }
};

struct ColumnReader
{
    const SqlRow& row;
    int next;
    void Number(const char*, int& value) { value = NarrowInt(row.Integer(next++)); }
    void Flag(const char*, bool& value) { value = row.Integer(next++) != 0; }
    void Real(const char*, double& value) { value = row.Real(next++); }
    void Polarity(const char*, bool& bright) { bright = row.Text(next++) == "bright"; }
    void Channel(const char*, int& channel) { channel = ChannelOfName(row.Text(next++)).value_or(Channel_Auto); }
};

const ColumnNames& BlobNames()
{
    static const ColumnNames names = []
    {
        ColumnNames made;
        const Blob blob{};
        ForEachBlobColumn(blob, made);
        return made;
    }();
    return names;
}

/// "INSERT INTO table (columns) VALUES ($1, ...), ..." for some rows at a time.
std::string InsertText(const std::string& table, const std::string& columns, int count, int rows)
{
    std::string text = "INSERT INTO " + table + " (" + columns + ") VALUES ";
    int number = 0;
    for (int row = 0; row < rows; ++row)
    {
        text += row == 0 ? "(" : ", (";
        for (int i = 0; i < count; ++i)
            text += (i == 0 ? "$" : ", $") + std::to_string(++number);
        text += ')';
    }
    return text;
}

/// Rows for one table, sent many at a time: a server answers each statement, and one of many rows takes hardly longer.
class RowSender
{
public:
    RowSender(SqlDatabase& database, std::string table, std::string columns, int count)
        : m_database(database), m_table(std::move(table)), m_columns(std::move(columns)), m_count(count)
    {
        for (std::size_t i = 0; i < chunks.size(); ++i)
            m_statements[i] = InsertText(m_table, m_columns, m_count, chunks[i]);
    }

    /// `values` are those of whole rows.
    void Send(std::span<const SqlValue> values) const
    {
        for (std::size_t i = 0; i < chunks.size(); ++i)
            for (const auto some = static_cast<std::size_t>(chunks[i]) * static_cast<std::size_t>(m_count);
                 values.size() >= some; values = values.subspan(some))
                m_database.Run(m_statements[i], values.first(some));
    }

private:
    static constexpr std::array<int, 3> chunks = {64, 8, 1};

    SqlDatabase& m_database;
    std::string m_table;
    std::string m_columns;
    int m_count;
    std::array<std::string, chunks.size()> m_statements;
};

std::string OutlinesText(const std::vector<std::vector<CPoint>>& outlines)
{
    nlohmann::json all = nlohmann::json::array();
    for (const std::vector<CPoint>& outline : outlines)
    {
        nlohmann::json& corners = all.emplace_back(nlohmann::json::array());
        for (const CPoint& corner : outline)
            corners.push_back({corner.x, corner.y});
    }
    return all.dump();
}

std::vector<std::vector<CPoint>> OutlinesOf(const std::string& text)
{
    std::vector<std::vector<CPoint>> outlines;
    const nlohmann::json all = nlohmann::json::parse(text, nullptr, false);
    if (all.is_array())
        for (const nlohmann::json& outline : all)
        {
            std::vector<CPoint>& corners = outlines.emplace_back();
            for (const nlohmann::json& corner : outline)
                if (corner.is_array() && corner.size() == 2 && corner[0].is_number_integer() &&
                    corner[1].is_number_integer())
                    corners.emplace_back(corner[0].get<int>(), corner[1].get<int>());
        }
    return outlines;
}

} // namespace

void CheckStoredImage(const StoredImage& image)
{
    std::vector<Problem> found;
    if (image.Key().empty())
        found.push_back({"image.key", "empty, as its name", "a key or a name"});
    const std::size_t crops = std::accumulate(image.crops.begin(), image.crops.end(), std::size_t{0},
                                              [](std::size_t sum, const Crop& crop) { return sum + crop.png.size(); });
    if (crops > nMostCropBytes)
        found.push_back({"image.crops of " + image.result.name, std::to_string(crops) + " bytes",
                         "at most " + std::to_string(nMostCropBytes) + " bytes for an image"});
    ThrowIfAny(std::move(found));
}

namespace
{

class SqlStore : public ResultStore
{
public:
    explicit SqlStore(std::unique_ptr<SqlDatabase> database)
        : m_database(std::move(database)),
          m_problems(*m_database, "problems", "image, place, field, value, allowed", 5),
          m_regions(*m_database, "regions",
                    "image, place, name, code, direction, \"left\", top, \"right\", bottom, outlines, pairs, "
                    "overflowed, reruns, dead_blobs, inspect_milliseconds, blob_milliseconds, total_milliseconds, "
                    "light, noise, pitch_x, pitch_y",
                    21),
          m_warnings(*m_database, "warnings", "image, region, place, text", 4),
          m_blobs(*m_database, "blobs", "image, region, place, " + BlobNames().names, 3 + BlobNames().count),
          m_verdicts(*m_database, "verdicts", "image, place, region, blob, verdict, source, given", 7),
          m_crops(*m_database, "crops", "image, place, region, blob, kind, \"left\", top, png", 8)
    {
    }

    void CheckRun(const RunDescription& run, RunStart start) override { FindRun(run, start); }

    std::int64_t BeginRun(const RunDescription& run, RunStart start) override
    {
        std::int64_t number = -1;
        InTransaction([&] { number = FindOrMakeRun(run, start); });
        return number;
    }

    void Add(std::int64_t run, std::span<const StoredImage> images) override
    {
        for (const StoredImage& image : images)
            CheckStoredImage(image);
        InTransaction(
            [&]
            {
                for (const StoredImage& image : images)
                    AddImage(run, image);
            });
    }

    void AddVerdicts(std::int64_t run, const std::string& key, std::span<const Verdict> verdicts) override
    {
        InTransaction(
            [&]
            {
                const std::int64_t image = ImageOf(run, key);
                if (image < 0)
                    throw HostError({{"verdict of " + key, "no such image in the run", "an image of the run"}});
                std::int64_t place = 0;
                Run("SELECT COALESCE(MAX(place) + 1, 0) FROM verdicts WHERE image = $1", {image},
                    [&](const SqlRow& row) { place = row.Integer(0); });
                SendVerdicts(image, place, verdicts);
            });
    }

    std::vector<StoredRun> Runs() override
    {
        std::vector<StoredRun> runs;
        Run("SELECT runs.id, runs.key, runs.recipe, recipes.name, runs.program, runs.started, "
            "(SELECT COUNT(*) FROM images WHERE run = runs.id), "
            "(SELECT COUNT(*) FROM images WHERE run = runs.id AND status = $1), "
            "(SELECT COALESCE(SUM(blob_count), 0) FROM images WHERE run = runs.id) "
            "FROM runs JOIN recipes ON recipes.digest = runs.recipe ORDER BY runs.started, runs.id",
            {std::string(szStoredRefused)},
            [&](const SqlRow& row)
            {
                StoredRun& run = runs.emplace_back();
                run.number = row.Integer(0);
                run.description = {FromStored(row.Text(1)),
                                   {FromStored(row.Text(2)), FromStored(row.Text(3)), {}},
                                   FromStored(row.Text(4)),
                                   row.Integer(5)};
                run.images = static_cast<std::size_t>(row.Integer(6));
                run.refused = static_cast<std::size_t>(row.Integer(7));
                run.blobs = static_cast<std::size_t>(row.Integer(8));
            });
        return runs;
    }

    void Images(std::int64_t run, const std::function<void(StoredImage)>& visit) override
    {
        InSnapshot(
            [&]
            {
                std::vector<std::int64_t> ids;
                Run("SELECT id FROM images WHERE run = $1 ORDER BY sequence, id", {run},
                    [&](const SqlRow& row) { ids.push_back(row.Integer(0)); });
                for (const std::int64_t id : ids)
                    visit(ReadImage(id));
            });
    }

    std::map<std::string, std::string> Keys(std::int64_t run) override
    {
        std::map<std::string, std::string> keys;
        Run("SELECT key, digest FROM images WHERE run = $1", {run},
            [&](const SqlRow& row) { keys.emplace(FromStored(row.Text(0)), FromStored(row.Text(1))); });
        return keys;
    }

    StoredRecipe RecipeOf(const std::string& digest) override
    {
        StoredRecipe recipe;
        Run("SELECT digest, name, text FROM recipes WHERE digest = $1", {StoredText(digest)},
            [&](const SqlRow& row) {
                recipe = {FromStored(row.Text(0)), FromStored(row.Text(1)), FromStored(row.Text(2))};
            });
        if (recipe.digest.empty())
            throw HostError({{"recipe", digest, "the digest of a recipe in " + Place()}});
        return recipe;
    }

    std::string Place() const override { return m_database->Place(); }

private:
    using Take = std::function<void(const SqlRow&)>;

    void Run(const std::string& statement, std::initializer_list<SqlValue> values, const Take& take = {})
    {
        m_database->Run(statement, {values.begin(), values.size()}, take);
    }

    void InTransaction(const std::function<void()>& call)
    {
        m_database->Begin();
        ToItsEnd(call);
    }

    void InSnapshot(const std::function<void()>& call)
    {
        m_database->BeginReading();
        ToItsEnd(call);
    }

    void ToItsEnd(const std::function<void()>& call)
    {
        try
        {
            call();
            m_database->Commit();
        }
        catch (...)
        {
            m_database->Rollback();
            throw;
        }
    }

    /// The run's number, -1 where it is not there. @throws HostError where it cannot be begun
    std::int64_t FindRun(const RunDescription& run, RunStart start)
    {
        std::int64_t number = -1;
        std::string recipe;
        Run("SELECT id, recipe FROM runs WHERE key = $1", {StoredText(run.key)},
            [&](const SqlRow& row)
            {
                number = row.Integer(0);
                recipe = FromStored(row.Text(1));
            });
        const std::string field = "run " + run.key + " in " + Place();
        if (number >= 0 && start == RunStart_New)
            throw HostError({{field, "exists already",
                              "another name (--run), --resume to continue, or --overwrite to begin afresh"}});
        if (number >= 0 && start == RunStart_Continue && recipe != run.recipe.digest)
            throw HostError({{field, "made by another recipe",
                              "the same recipe, another name (--run), or --overwrite to begin afresh"}});
        return number;
    }

    std::int64_t FindOrMakeRun(const RunDescription& run, RunStart start)
    {
        std::int64_t number = FindRun(run, start);
        if (number >= 0 && start == RunStart_Continue)
            return number;
        const std::string digest = StoredText(run.recipe.digest);
        if (number >= 0)
            Run("DELETE FROM runs WHERE id = $1", {number});
        number = -1;
        Run("INSERT INTO recipes (digest, name, text) VALUES ($1, $2, $3) ON CONFLICT (digest) DO NOTHING",
            {digest, StoredText(run.recipe.name), StoredText(run.recipe.text)});
        Run("INSERT INTO runs (key, recipe, program, started) VALUES ($1, $2, $3, $4) "
            "ON CONFLICT (key) DO NOTHING RETURNING id",
            {StoredText(run.key), digest, StoredText(run.program), run.started},
            [&](const SqlRow& row) { number = row.Integer(0); });
        // Another program began it at the same time, and has ended its transaction by now.
        return number >= 0 ? number : FindRun(run, start);
    }

    std::int64_t ImageOf(std::int64_t run, const std::string& key)
    {
        std::int64_t image = -1;
        Run("SELECT id FROM images WHERE run = $1 AND key = $2", {run, StoredText(key)},
            [&](const SqlRow& row) { image = row.Integer(0); });
        return image;
    }

    void AddImage(std::int64_t run, const StoredImage& image)
    {
        const ImageResult& result = image.result;
        Run("DELETE FROM images WHERE run = $1 AND key = $2", {run, StoredText(image.Key())});
        std::int64_t id = -1;
        Run("INSERT INTO images (run, key, sequence, name, bytes, modified, digest, inspected, status, width, height, "
            "blob_count, read_milliseconds, inspect_milliseconds) VALUES ($1, $2, $3, $4, $5, $6, $7, $8, $9, $10, "
            "$11, $12, $13, $14) RETURNING id",
            {run, StoredText(image.Key()), image.sequence, StoredText(result.name), Whole(image.identity.bytes),
             image.identity.modified, StoredText(image.identity.digest), image.inspected,
             std::string(result.IsInspected() ? szStoredInspected : szStoredRefused), Whole(result.width),
             Whole(result.height), Whole(result.BlobCount()), result.readMilliseconds, result.inspectMilliseconds},
            [&](const SqlRow& row) { id = row.Integer(0); });
        std::vector<SqlValue> values;
        for (std::size_t i = 0; i < result.problems.size(); ++i)
        {
            const Problem& problem = result.problems[i];
            values.insert(values.end(), {id, Whole(i), StoredText(problem.field), StoredText(problem.value),
                                         StoredText(problem.allowed)});
        }
        m_problems.Send(values);
        for (std::size_t i = 0; i < result.regions.size(); ++i)
            AddRegion(id, Whole(i), result.regions[i]);
        SendVerdicts(id, 0, image.verdicts);
        for (std::size_t i = 0; i < image.crops.size(); ++i)
        {
            const Crop& crop = image.crops[i];
            const std::array<SqlValue, 8> one = {id,
                                                 Whole(i),
                                                 Whole(crop.region),
                                                 Whole(crop.blob),
                                                 StoredText(crop.kind),
                                                 Whole(crop.left),
                                                 Whole(crop.top),
                                                 SqlBytes{crop.png}};
            m_crops.Send(one);
        }
    }

    void AddRegion(std::int64_t image, std::int64_t place, const InspectionResult& region)
    {
        const std::array<SqlValue, 21> one = {
            image,
            place,
            StoredText(region.name),
            Whole(region.code),
            std::string(region.direction == Direction_Vertical ? "vertical" : "horizontal"),
            Whole(region.region.left),
            Whole(region.region.top),
            Whole(region.region.right),
            Whole(region.region.bottom),
            OutlinesText(region.outlines),
            Whole(region.pairs),
            Whole(region.overflowed),
            Whole(region.reruns),
            Whole(region.deadBlobs),
            region.inspectMilliseconds,
            region.blobMilliseconds,
            region.totalMilliseconds,
            region.drift.light,
            region.drift.noise,
            region.drift.pitchX,
            region.drift.pitchY};
        m_regions.Send(one);
        std::vector<SqlValue> values;
        for (std::size_t i = 0; i < region.warnings.size(); ++i)
            values.insert(values.end(), {image, place, Whole(i), StoredText(region.warnings[i])});
        m_warnings.Send(values);
        // A thousand at a time, so that an image with a million blobs does not need as much memory again.
        constexpr std::size_t nAtOnce = 1024;
        values.clear();
        for (std::size_t i = 0; i < region.blobs.size(); ++i)
        {
            values.insert(values.end(), {image, place, Whole(i)});
            ColumnValues columns{values};
            ForEachBlobColumn(region.blobs[i], columns);
            if (i % nAtOnce == nAtOnce - 1)
            {
                m_blobs.Send(values);
                values.clear();
            }
        }
        m_blobs.Send(values);
    }

    void SendVerdicts(std::int64_t image, std::int64_t place, std::span<const Verdict> verdicts)
    {
        std::vector<SqlValue> values;
        for (const Verdict& verdict : verdicts)
            values.insert(values.end(), {image, place++, Whole(verdict.region), Whole(verdict.blob),
                                         StoredText(verdict.verdict), StoredText(verdict.source), verdict.given});
        m_verdicts.Send(values);
    }

    StoredImage ReadImage(std::int64_t id)
    {
        StoredImage image;
        ImageResult& result = image.result;
        Run("SELECT key, sequence, name, bytes, modified, digest, inspected, width, height, "
            "read_milliseconds, inspect_milliseconds FROM images WHERE id = $1",
            {id},
            [&](const SqlRow& row)
            {
                image.key = FromStored(row.Text(0));
                image.sequence = row.Integer(1);
                result.name = FromStored(row.Text(2));
                image.identity = {static_cast<std::uint64_t>(row.Integer(3)), row.Integer(4), FromStored(row.Text(5))};
                image.inspected = row.Integer(6);
                result.width = NarrowInt(row.Integer(7));
                result.height = NarrowInt(row.Integer(8));
                result.readMilliseconds = row.Real(9);
                result.inspectMilliseconds = row.Real(10);
            });
        Run("SELECT field, value, allowed FROM problems WHERE image = $1 ORDER BY place", {id},
            [&](const SqlRow& row) {
                result.problems.push_back({FromStored(row.Text(0)), FromStored(row.Text(1)), FromStored(row.Text(2))});
            });
        ReadRegions(id, result);
        Run("SELECT region, blob, verdict, source, given FROM verdicts WHERE image = $1 ORDER BY place", {id},
            [&](const SqlRow& row)
            {
                image.verdicts.push_back({NarrowInt(row.Integer(0)), NarrowInt(row.Integer(1)), FromStored(row.Text(2)),
                                          FromStored(row.Text(3)), row.Integer(4)});
            });
        Run("SELECT region, blob, kind, \"left\", top, png FROM crops WHERE image = $1 ORDER BY place", {id},
            [&](const SqlRow& row)
            {
                image.crops.push_back({NarrowInt(row.Integer(0)), NarrowInt(row.Integer(1)), FromStored(row.Text(2)),
                                       NarrowInt(row.Integer(3)), NarrowInt(row.Integer(4)), row.Bytes(5)});
            });
        return image;
    }

    void ReadRegions(std::int64_t id, ImageResult& result)
    {
        Run("SELECT name, code, direction, \"left\", top, \"right\", bottom, outlines, pairs, overflowed, reruns, "
            "dead_blobs, inspect_milliseconds, blob_milliseconds, total_milliseconds, light, noise, pitch_x, pitch_y "
            "FROM regions WHERE image = $1 ORDER BY place",
            {id},
            [&](const SqlRow& row)
            {
                InspectionResult& region = result.regions.emplace_back();
                region.name = FromStored(row.Text(0));
                region.code = NarrowInt(row.Integer(1));
                region.direction = row.Text(2) == "horizontal" ? Direction_Horizontal : Direction_Vertical;
                region.region = CRect(NarrowInt(row.Integer(3)), NarrowInt(row.Integer(4)), NarrowInt(row.Integer(5)),
                                      NarrowInt(row.Integer(6)));
                region.outlines = OutlinesOf(row.Text(7));
                region.pairs = NarrowInt(row.Integer(8));
                region.overflowed = row.Integer(9) != 0;
                region.reruns = NarrowInt(row.Integer(10));
                region.deadBlobs = NarrowInt(row.Integer(11));
                region.inspectMilliseconds = row.Real(12);
                region.blobMilliseconds = row.Real(13);
                region.totalMilliseconds = row.Real(14);
                region.drift = {row.Real(15), row.Real(16), row.Real(17), row.Real(18)};
            });
        const auto regionOf = [&](std::int64_t place) -> InspectionResult*
        {
            const auto at = static_cast<std::size_t>(place);
            return place >= 0 && at < result.regions.size() ? &result.regions[at] : nullptr;
        };
        Run("SELECT region, text FROM warnings WHERE image = $1 ORDER BY region, place", {id},
            [&](const SqlRow& row)
            {
                if (InspectionResult* region = regionOf(row.Integer(0)))
                    region->warnings.push_back(FromStored(row.Text(1)));
            });
        Run("SELECT region, " + BlobNames().names + " FROM blobs WHERE image = $1 ORDER BY region, place", {id},
            [&](const SqlRow& row)
            {
                if (InspectionResult* region = regionOf(row.Integer(0)))
                {
                    ColumnReader reader{row, 1};
                    ForEachBlobColumn(region->blobs.emplace_back(), reader);
                }
            });
    }

    std::unique_ptr<SqlDatabase> m_database;
    RowSender m_problems;
    RowSender m_regions;
    RowSender m_warnings;
    RowSender m_blobs;
    RowSender m_verdicts;
    RowSender m_crops;
};

} // namespace

std::unique_ptr<ResultStore> MakeSqlStore(std::unique_ptr<SqlDatabase> database)
{
    return std::make_unique<SqlStore>(std::move(database));
}

} // namespace narvo
