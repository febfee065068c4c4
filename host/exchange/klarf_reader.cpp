// SPDX-License-Identifier: MIT
// Both forms become the same rows, from which the defects are made once all of the file is known.
#include "host/exchange/klarf.h"

#include <algorithm>
#include <cmath>
#include <map>
#include <set>
#include <utility>

#include "host/exchange/klarf_tokens.h"
#include "host/file/input_file.h"
#include "host/file/name_text.h"
#include "host/problem.h"

namespace narvo
{

namespace
{

constexpr int nMostRows = 10000000;
constexpr int nMostColumns = 1000;

/// A table: its columns by name and its cells row by row. A list of images is one cell.
struct KlarfTable
{
    std::vector<std::string> columns;
    std::vector<std::vector<KlarfToken>> rows;
};

/// What stands in a file, as words.
struct KlarfWords
{
    KlarfVersion version = Klarf_1_2;
    std::map<std::string, std::vector<KlarfToken>> fields; ///< values by the names of version 1.8
    std::map<std::string, KlarfTable> tables;              ///< likewise
};

/// Names of statements in version 1.2 and of fields in 1.8, where they differ.
const std::map<std::string_view, const char*> laterNames = {{"SetupID", "RecipeID"},
                                                            {"LotID", "LotRecord"},
                                                            {"WaferID", "WaferRecord"},
                                                            {"Slot", "SlotNumber"},
                                                            {"ClassLookup", "ClassLookupList"},
                                                            {"SampleTestPlan", "SampleTestPlanList"}};

/// As it stands, or with the bytes escaped that are no UTF-8: stations write names in many encodings.
std::string TextOf(std::string_view text)
{
    return IsUtf8(text) ? std::string(text) : NameToText(text);
}

class Reader12
{
public:
    Reader12(KlarfTokens& tokens, KlarfWords& words) : m_tokens(tokens), m_words(words) {}

    void Run()
    {
        for (bool ended = false; !ended;)
        {
            const KlarfToken name = m_tokens.Take("a statement, or EndOfFile;");
            const auto later = laterNames.find(name.text);
            const std::string key(later == laterNames.end() ? name.text : later->second);
            if (name.quoted || name.Is(';'))
                m_tokens.Refuse(name, "the name of a statement");
            if (name.Is("DefectRecordSpec"))
                ReadSpec();
            else if (name.Is("DefectList"))
                ReadDefects();
            else if (name.Is("ClassLookup") || name.Is("SampleTestPlan"))
                ReadPairs(m_words.tables[key], name.Is("ClassLookup"));
            else
                m_words.fields[key] = m_tokens.TakeUntil(';');
            ended = name.Is("EndOfFile");
        }
    }

private:
    void ReadSpec()
    {
        const int count = m_tokens.TakeCount("the number of columns", 1, nMostColumns);
        m_columns.clear();
        for (int i = 0; i < count; ++i)
            m_columns.emplace_back(m_tokens.Take("the name of a column").text);
        m_tokens.Expect(';');
    }

    void ReadDefects()
    {
        KlarfTable& table = m_words.tables["DefectList"];
        table.columns = m_columns;
        while (!m_tokens.Peek("defects, or ;").Is(';'))
        {
            const KlarfToken first = m_tokens.Peek("a defect");
            if (m_columns.empty())
                m_tokens.Refuse(first, "DefectRecordSpec before the first defect");
            std::vector<KlarfToken>& row = table.rows.emplace_back();
            for (const std::string& column : m_columns)
                // The last column may hold as many pairs of numbers as IMAGECOUNT says.
                if (column == "IMAGELIST")
                {
                    row.push_back(first);
                    for (int left = 2 * ImagesOf(row); left > 0; --left)
                        TakeCell();
                }
                else
                    row.push_back(TakeCell());
        }
        m_tokens.Expect(';');
    }

    int ImagesOf(const std::vector<KlarfToken>& row)
    {
        const auto column = std::find(m_columns.begin(), m_columns.end(), "IMAGECOUNT");
        const auto place = static_cast<std::size_t>(column - m_columns.begin());
        return place < row.size() ? m_tokens.WholeNumberOf(row[place], "IMAGECOUNT", 0, 100000) : 0;
    }

    const KlarfToken& TakeCell()
    {
        const KlarfToken& cell = m_tokens.Take("a value of the defect");
        if (cell.Is(';') || cell.Is('{') || cell.Is('}'))
            m_tokens.Refuse(cell, "a value for each column of DefectRecordSpec");
        return cell;
    }

    void ReadPairs(KlarfTable& table, bool classes)
    {
        const int count = m_tokens.TakeCount("the number of rows", 0, nMostRows);
        table.columns = classes ? std::vector<std::string>{"CLASSNUMBER", "CLASSNAME"}
                                : std::vector<std::string>{"XINDEX", "YINDEX"};
        for (int i = 0; i < count; ++i)
        {
            const KlarfToken& first = m_tokens.Take("a row");
            table.rows.push_back({first, m_tokens.Take("the second value of a row")});
        }
        m_tokens.Expect(';');
    }

    KlarfTokens& m_tokens;
    KlarfWords& m_words;
    std::vector<std::string> m_columns;
};

class Reader18
{
public:
    Reader18(KlarfTokens& tokens, KlarfWords& words) : m_tokens(tokens), m_words(words) {}

    void Run()
    {
        // Records lie in each other: how deep, is a count, so that no file can exhaust the stack.
        int depth = 0;
        do
        {
            const KlarfToken word = m_tokens.Take("Record, Field, List or }");
            if (word.Is("Record"))
            {
                const std::string name(m_tokens.Take("the name of the record").text);
                if (const KlarfToken& next = m_tokens.Peek("the record's value or {"); next.quoted)
                    m_words.fields.try_emplace(name, std::vector{m_tokens.Take("the record's value")});
                m_tokens.Expect('{');
                ++depth;
            }
            else if (word.Is('}') && depth > 0)
                --depth;
            else if (word.Is("Field") && depth > 0)
                ReadField();
            else if (word.Is("List") && depth > 0)
                ReadList();
            else
                m_tokens.Refuse(word, "Record, Field, List or }");
        } while (depth > 0);
        if (const KlarfToken& end = m_tokens.Take("EndOfFile;"); !end.Is("EndOfFile"))
            m_tokens.Refuse(end, "EndOfFile;");
        m_tokens.Expect(';');
    }

private:
    void ReadField()
    {
        const KlarfToken name = m_tokens.Take("the name of the field");
        const int count = m_tokens.TakeCount("the number of values", 0, nMostColumns);
        m_tokens.Expect('{');
        std::vector<KlarfToken> values = m_tokens.TakeUntil('}');
        if (values.size() != static_cast<std::size_t>(count))
            m_tokens.Refuse(name, std::to_string(count) + " values, of which " + std::to_string(values.size()) +
                                      " stand there");
        m_words.fields[std::string(name.text)] = std::move(values);
    }

    void ReadList()
    {
        const KlarfToken name = m_tokens.Take("the name of the list");
        KlarfTable table;
        m_tokens.Expect('{');
        if (const KlarfToken& columns = m_tokens.Take("Columns"); !columns.Is("Columns"))
            m_tokens.Refuse(columns, "Columns");
        const int columns = m_tokens.TakeCount("the number of columns", 1, nMostColumns);
        m_tokens.Expect('{');
        for (int i = 0; i < columns; ++i)
        {
            m_tokens.Take("the type of a column");
            table.columns.emplace_back(m_tokens.Take("the name of a column").text);
        }
        m_tokens.Expect('}');
        if (const KlarfToken& data = m_tokens.Take("Data"); !data.Is("Data"))
            m_tokens.Refuse(data, "Data");
        const int rows = m_tokens.TakeCount("the number of rows", 0, nMostRows);
        m_tokens.Expect('{');
        for (int i = 0; i < rows; ++i)
        {
            std::vector<KlarfToken>& row = table.rows.emplace_back();
            for (int column = 0; column < columns; ++column)
                row.push_back(TakeCell());
            m_tokens.Expect(';');
        }
        m_tokens.Expect('}');
        m_tokens.Expect('}');
        if (KlarfTable& known = m_words.tables[std::string(name.text)]; known.columns.empty())
            known = std::move(table);
        else
            m_tokens.Refuse(name, "a list that is given once; files of several wafers are not read");
    }

    /// A word, or a list of images: Images 2 { ... }.
    KlarfToken TakeCell()
    {
        const KlarfToken cell = m_tokens.Take("a value of the row");
        if (cell.Is(';') || cell.Is('{') || cell.Is('}'))
            m_tokens.Refuse(cell, "a value for each column of the list");
        if (cell.Is("Images"))
        {
            m_tokens.Take("the number of images");
            m_tokens.Expect('{');
            m_tokens.TakeUntil('}');
        }
        return cell;
    }

    KlarfTokens& m_tokens;
    KlarfWords& m_words;
};

/// Makes the content from the words.
class ContentMaker
{
public:
    ContentMaker(const KlarfTokens& tokens, const KlarfWords& words, std::string file)
        : m_tokens(tokens), m_words(words), m_file(std::move(file))
    {
    }

    KlarfContent Make(double pixelSize)
    {
        constexpr double dNanometres = 1000.0;
        m_unit = m_words.version == Klarf_1_8 ? pixelSize * dNanometres : pixelSize;
        KlarfContent content;
        content.version = m_words.version;
        KlarfHead& head = content.head;
        head.pixelSize = pixelSize;
        head.station = Text("InspectionStationID", 0);
        head.model = Text("InspectionStationID", 1);
        head.stationId = Text("InspectionStationID", 2);
        head.lot = Text("LotRecord", 0);
        head.device = Text("DeviceID", 0);
        head.setup = Text("RecipeID", 0);
        head.step = Text("StepID", 0);
        head.wafer = Text("WaferRecord", 0);
        if (const KlarfToken* slot = Value("SlotNumber", 0))
            head.slot = m_tokens.WholeNumberOf(*slot, "a slot", 0, 100000);
        head.time = TimeOf("ResultTimestamp");
        content.images = Images();
        return content;
    }

private:
    const KlarfToken* Value(const char* field, std::size_t place) const
    {
        const auto values = m_words.fields.find(field);
        return values != m_words.fields.end() && place < values->second.size() ? &values->second[place] : nullptr;
    }

    std::string Text(const char* field, std::size_t place) const
    {
        const KlarfToken* value = Value(field, place);
        return value ? TextOf(value->text) : std::string();
    }

    /// As YYYY-MM-DD hh:mm:ss; a year of two digits lies in 1970 to 2069. Empty where the file has none.
    std::string TimeOf(const char* field) const
    {
        const KlarfToken* date = Value(field, 0);
        if (!date)
            return {};
        const std::string text(date->text);
        int month = 0;
        int day = 0;
        int year = 0;
        char rest = 0;
        if (std::sscanf(text.c_str(), "%2d-%2d-%4d%c", &month, &day, &year, &rest) != 3 || month < 1 || day < 1)
            m_tokens.Refuse(*date, "a date as MM-DD-YYYY");
        if (year < 100)
            year += year < 70 ? 2000 : 1900;
        char made[40];
        std::snprintf(made, sizeof made, "%04d-%02d-%02d ", year, month, day);
        return made + Text(field, 1);
    }

    /// @return the place of a column. @throws HostError without it
    std::size_t Column(const KlarfTable& table, const char* name, const char* list) const
    {
        const auto column = std::find(table.columns.begin(), table.columns.end(), name);
        if (column == table.columns.end())
            throw HostError({{m_file + ", " + list, std::string("no column ") + name, "a list with that column"}});
        return static_cast<std::size_t>(column - table.columns.begin());
    }

    static bool Has(const KlarfTable& table, const char* name)
    {
        return std::find(table.columns.begin(), table.columns.end(), name) != table.columns.end();
    }

    std::map<int, std::string> Classes() const
    {
        std::map<int, std::string> names;
        if (const auto found = m_words.tables.find("ClassLookupList"); found != m_words.tables.end())
        {
            const std::size_t number = Column(found->second, "CLASSNUMBER", "ClassLookupList");
            const std::size_t name = Column(found->second, "CLASSNAME", "ClassLookupList");
            for (const std::vector<KlarfToken>& row : found->second.rows)
                names[m_tokens.WholeNumberOf(row[number], "a class", -1, nHighest)] = TextOf(row[name].text);
        }
        return names;
    }

    /// A length in pixels.
    double Pixels(const KlarfToken& token, const char* wanted) const
    {
        const double pixels = m_tokens.NumberOf(token, wanted) / m_unit;
        if (std::abs(pixels) > nFarthest)
            m_tokens.Refuse(token, std::string(wanted) + " of at most 250000000 pixels");
        return pixels;
    }

    /// That of a die.
    double Side(const KlarfToken& token) const
    {
        const double pixels = Pixels(token, "a length");
        if (pixels < 0.0)
            m_tokens.Refuse(token, "a length of 0 and more");
        return pixels;
    }

    double Area(const KlarfToken& token) const
    {
        const double area = m_tokens.NumberOf(token, "an area") / (m_unit * m_unit);
        if (!(area >= 0.0 && area <= dListedArea))
            m_tokens.Refuse(token, "an area of 0 to 1e18 pixels");
        return area;
    }

    using Die = std::pair<int, int>; ///< row, column

    Die DieOf(const std::vector<KlarfToken>& row, std::size_t x, std::size_t y) const
    {
        return {m_tokens.WholeNumberOf(row[y], "YINDEX", -nHighest, nHighest),
                m_tokens.WholeNumberOf(row[x], "XINDEX", -nHighest, nHighest)};
    }

    std::vector<DefectList> Images() const
    {
        const KlarfToken* pitchX = Value("DiePitch", 0);
        const KlarfToken* pitchY = Value("DiePitch", 1);
        const auto list = m_words.tables.find("DefectList");
        if (!pitchX || !pitchY || list == m_words.tables.end())
            throw HostError(
                {{m_file, pitchX && pitchY ? "no DefectList" : "no DiePitch", "a file with DiePitch and DefectList"}});
        const double width = Side(*pitchX);
        const double height = Side(*pitchY);
        std::map<Die, DefectList> dies;
        const auto imageOf = [&](const Die& die) -> DefectList&
        {
            DefectList& image = dies[die];
            image.image = "die_" + std::to_string(die.second) + "_" + std::to_string(die.first);
            image.width = static_cast<int>(std::lround(width));
            image.height = static_cast<int>(std::lround(height));
            return image;
        };
        if (const auto plan = m_words.tables.find("SampleTestPlanList"); plan != m_words.tables.end())
        {
            const std::size_t x = Column(plan->second, "XINDEX", "SampleTestPlanList");
            const std::size_t y = Column(plan->second, "YINDEX", "SampleTestPlanList");
            for (const std::vector<KlarfToken>& row : plan->second.rows)
                imageOf(DieOf(row, x, y));
        }
        const KlarfTable& table = list->second;
        if (table.rows.empty())
            return Listed(std::move(dies));
        const std::map<int, std::string> classes = Classes();
        const auto column = [&](const char* name) { return Column(table, name, "DefectList"); };
        const std::size_t places[] = {column("XREL"), column("YREL"), column("XINDEX"), column("YINDEX")};
        for (const std::vector<KlarfToken>& row : table.rows)
        {
            const auto length = [&](const char* name)
            { return Has(table, name) ? Pixels(row[column(name)], "a length") : 0.0; };
            const double x = Pixels(row[places[0]], "a place");
            const double y = height - Pixels(row[places[1]], "a place");
            const double size = length("DSIZE");
            const double w = Has(table, "XSIZE") ? length("XSIZE") : size;
            const double h = Has(table, "YSIZE") ? length("YSIZE") : size;
            ListedDefect defect;
            defect.box.left = static_cast<int>(std::lround(x - w / 2.0));
            defect.box.top = static_cast<int>(std::lround(y - h / 2.0));
            defect.box.right = defect.box.left + std::max(1, static_cast<int>(std::lround(w)));
            defect.box.bottom = defect.box.top + std::max(1, static_cast<int>(std::lround(h)));
            if (Has(table, "DEFECTAREA"))
                defect.area = Area(row[column("DEFECTAREA")]);
            if (Has(table, "CLASSNUMBER"))
            {
                const int kind = m_tokens.WholeNumberOf(row[column("CLASSNUMBER")], "a class", -1, nHighest);
                const auto name = classes.find(kind);
                defect.kind = name == classes.end() ? std::to_string(kind) : name->second;
            }
            imageOf(DieOf(row, places[2], places[3])).defects.push_back(std::move(defect));
        }
        return Listed(std::move(dies));
    }

    static std::vector<DefectList> Listed(std::map<Die, DefectList>&& dies)
    {
        std::vector<DefectList> images;
        images.reserve(dies.size());
        for (auto& [die, image] : dies)
            images.push_back(std::move(image));
        return images;
    }

    static constexpr int nHighest = 1000000000;
    static constexpr int nFarthest = nHighest / 4; ///< pixels

    const KlarfTokens& m_tokens;
    const KlarfWords& m_words;
    std::string m_file;
    double m_unit = 1.0; ///< of the file, in a pixel
};

bool StartsWith(const std::string& text, const char* word, const char* next)
{
    const std::size_t first = text.find_first_not_of(" \t\r\n");
    if (first == std::string::npos || text.compare(first, std::string_view(word).size(), word) != 0)
        return false;
    const std::size_t second = text.find_first_not_of(" \t\r\n", first + std::string_view(word).size());
    return second != std::string::npos && text.compare(second, std::string_view(next).size(), next) == 0;
}

} // namespace

bool IsKlarf(const std::string& text)
{
    return StartsWith(text, "FileVersion", "1") || StartsWith(text, "Record", "FileRecord");
}

void CheckPixelSize(double pixelSize)
{
    if (!(pixelSize >= 0.01 && pixelSize <= 1000.0))
        throw HostError({{"pixel_size", FormatNumber(pixelSize), "0.01 to 1000 micrometres"}});
}

KlarfContent ReadKlarf(const std::filesystem::path& file, double pixelSize)
{
    CheckPixelSize(pixelSize);
    const std::string text = ReadTextFile(file, file.string(), "a readable KLARF file");
    if (!IsKlarf(text))
        throw HostError(
            {{file.string(), "no KLARF file", "a file that begins with FileVersion 1 or Record FileRecord"}});
    KlarfTokens tokens(file.string(), text);
    KlarfWords words;
    if (tokens.Peek("a file").Is("Record"))
    {
        words.version = Klarf_1_8;
        Reader18(tokens, words).Run();
    }
    else
        Reader12(tokens, words).Run();
    return ContentMaker(tokens, words, file.string()).Make(pixelSize);
}

} // namespace narvo
