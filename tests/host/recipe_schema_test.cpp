// SPDX-License-Identifier: MIT
// The recipe's schema: the committed file is the table's, and it takes and refuses what the reader takes and refuses.
#include "host/recipe/recipe_schema.h"

#include <fstream>
#include <sstream>

#include "host/host_test_help.h"
#include "host/recipe/block_fields.h"
#include "host/recipe/recipe_fields.h"

namespace narvo::test
{

namespace
{

using nlohmann::json;

std::string ReadFile(const std::string& file)
{
    std::ifstream stream(file, std::ios::binary);
    std::stringstream text;
    text << stream.rdbuf();
    return text.str();
}

/// As much of a validator as the schema needs; a word that it does not know is a fault of the schema.
class Validator
{
public:
    explicit Validator(json schema) : m_schema(std::move(schema)) {}

    bool Takes(const json& document) const { return Check(m_schema, document); }

private:
    static bool HasType(const std::string& type, const json& value)
    {
        return type == "object"    ? value.is_object()
               : type == "array"   ? value.is_array()
               : type == "string"  ? value.is_string()
               : type == "boolean" ? value.is_boolean()
               : type == "null"    ? value.is_null()
               : type == "integer" ? value.is_number_integer()
                                   : type == "number" && value.is_number();
    }

    int Matches(const json& schemas, const json& value) const
    {
        int count = 0;
        for (const json& schema : schemas)
            count += Check(schema, value) ? 1 : 0;
        return count;
    }

    bool CheckObject(const json& schema, const json& value) const
    {
        const json properties = schema.value("properties", json::object());
        for (const auto& [name, member] : value.items())
            if (!Check(properties.contains(name) ? properties[name] : schema.value("additionalProperties", json(true)),
                       member))
                return false;
        if (value.size() < schema.value("minProperties", std::size_t{0}) ||
            value.size() > schema.value("maxProperties", value.size()))
            return false;
        for (const json& name : schema.value("required", json::array()))
            if (!value.contains(name.get<std::string>()))
                return false;
        return true;
    }

    bool CheckArray(const json& schema, const json& value) const
    {
        const json first = schema.value("prefixItems", json::array());
        if (value.size() < schema.value("minItems", std::size_t{0}) ||
            value.size() > schema.value("maxItems", value.size()))
            return false;
        for (std::size_t i = 0; i < value.size(); ++i)
            if (i < first.size() ? !Check(first[i], value[i])
                                 : schema.contains("items") && !Check(schema["items"], value[i]))
                return false;
        return true;
    }

    bool Check(const json& schema, const json& value) const
    {
        if (schema.is_boolean())
            return schema.get<bool>();
        for (const auto& [word, rule] : schema.items())
        {
            bool fine = true;
            if (word == "type")
                fine = HasType(rule, value);
            else if (word == "const")
                fine = rule == value;
            else if (word == "enum")
                fine = std::find(rule.begin(), rule.end(), value) != rule.end();
            else if (word == "minimum")
                fine = !value.is_number() || value.get<double>() >= rule.get<double>();
            else if (word == "maximum")
                fine = !value.is_number() || value.get<double>() <= rule.get<double>();
            else if (word == "anyOf")
                fine = Matches(rule, value) >= 1;
            else if (word == "oneOf")
                fine = Matches(rule, value) == 1;
            else if (word == "allOf")
                fine = Matches(rule, value) == static_cast<int>(rule.size());
            else if (word == "not")
                fine = !Check(rule, value);
            else if (word == "if")
                fine = !Check(rule, value) || Check(schema.at("then"), value);
            else if (word == "$ref")
                fine = Check(m_schema.at(json::json_pointer(rule.get<std::string>().substr(1))), value);
            else
                EXPECT_THAT(word, testing::AnyOf("properties", "required", "additionalProperties", "minProperties",
                                                 "maxProperties", "items", "prefixItems", "minItems", "maxItems",
                                                 "then", "$schema", "$defs", "title", "description", "default"));
            if (!fine)
                return false;
        }
        return (!value.is_object() || CheckObject(schema, value)) && (!value.is_array() || CheckArray(schema, value));
    }

    json m_schema;
};

const Validator& Schema()
{
    static const Validator validator{json(RecipeSchema())};
    return validator;
}

} // namespace

TEST(RecipeSchema, CommittedFileIsThatOfTheFieldTable)
{
    EXPECT_EQ(ReadFile(NARVO_SOURCE_FOLDER "/host/recipe/recipe.schema.json"), RecipeSchema().dump(2) + "\n")
        << "narvo recipe --schema > host/recipe/recipe.schema.json";
}

TEST(RecipeSchema, ReferenceInTheDocumentsIsThatOfTheFieldTable)
{
    const std::string page = ReadFile(NARVO_SOURCE_FOLDER "/docs/recipe.md");
    EXPECT_THAT(page, testing::HasSubstr("```\n" + DescribeRecipeFields() + "```\n")) << "narvo recipe";
    EXPECT_THAT(page, testing::HasSubstr("```\n" + DescribeBlockFields() + "```\n")) << "narvo recipe --block";
}

TEST(RecipeSchema, TakesTheSmallestAndTheWrittenOutRecipeOfEveryMode)
{
    for (const char* mode : {"zone", "pixel", "float", "binarise", "average", "asg", "texture", "lattice"})
    {
        const json smallest = SmallestRecipe(mode);
        EXPECT_TRUE(Schema().Takes(smallest)) << smallest;
        const json written = RecipeToJson(ParseRecipe(smallest, {}));
        EXPECT_TRUE(Schema().Takes(written)) << written;
    }
    json shaped = SmallestRecipe("float");
    shaped["region"] = {{"shape", "trapezium"}, {"points", {{0, 0}, {200, 0}, {0, 200}}}, {"columns", {3, 90}}};
    EXPECT_TRUE(Schema().Takes(shaped));
    shaped["region"] = {{"shape", "polygon"}, {"points", {{0, 0}, {200, 0}, {0, 200}}}};
    shaped["threshold"]["base"] = 20;
    EXPECT_TRUE(Schema().Takes(shaped));
}

TEST(RecipeSchema, RecipeMayNameIt)
{
    json document = SmallestRecipe();
    document["$schema"] = "../share/narvo/recipe.schema.json";
    EXPECT_TRUE(Schema().Takes(document));
    EXPECT_EQ(ParseRecipe(document, {})->pitchX, 20.5);
}

TEST(RecipeSchema, RefusesWhatTheReaderRefuses)
{
    const auto changed = [](const char* mode, const char* pointer, const json& value)
    {
        json document = SmallestRecipe(mode);
        document[json::json_pointer(pointer)] = value;
        return document;
    };
    const json bad[] = {
        json::object(),
        json::array(),
        changed("zone", "/version", 2),
        changed("zone", "/mode", "median"),
        changed("zone", "/colour", 1),
        changed("zone", "/pitch/z", 1),
        changed("zone", "/pitch/x", 0.5),
        changed("zone", "/multiple/x", 1.5),
        changed("zone", "/grey_limit", 256),
        changed("zone", "/threshold/base", 20),
        changed("zone", "/zones/list", {{{"offset", 3}}}),
        changed("zone", "/zones/list", {{{"index", 3}, {"verify", {{"checks", {{{"along", "z"}}}}}}}}),
        changed("zone", "/dead_zones", {{{"left", 1}, {"top", 1}, {"right", 9}}}),
        changed("zone", "/region", {{"left", 1}, {"top", 1}, {"right", 9}, {"bottom", 9}, {"depth", 9}}),
        changed("pixel", "/window/width", 3),
        changed("pixel", "/threshold/base", 256),
        changed("float", "/window/width", 1),
        changed("binarise", "/pitch", {{"x", 20}, {"y", 20}}),
        changed("zone", "/camera/buffers", 1),
        changed("zone", "/camera/Width", 512),
        changed("zone", "/camera/features", {{"Width", 512}}),
        changed("zone", "/camera/features", json::array({json::object()})),
        changed("zone", "/camera/features", json::array({{{"Width", json::array()}}})),
    };
    for (const json& document : bad)
    {
        EXPECT_FALSE(Schema().Takes(document)) << document;
        EXPECT_FALSE(ParseProblems(document).empty()) << document;
    }
    for (const char* mode : {"pixel", "float", "binarise", "average"})
        EXPECT_FALSE(Schema().Takes({{"version", 1}, {"mode", mode}, {"pitch", {{"x", 20}, {"y", 20}}}})) << mode;
}

TEST(RecipeSchema, RegionsHoldFieldsOfAnyModeAndNullTakesOneBack)
{
    json document = SmallestRecipe();
    document["regions"] = {{{"name", "a"}, {"mode", "pixel"}, {"threshold", {{"base", 3}}}, {"zones", nullptr}}};
    EXPECT_TRUE(Schema().Takes(document));
    document["regions"][0]["colour"] = 3;
    EXPECT_FALSE(Schema().Takes(document));
    document["regions"] = json::array();
    EXPECT_FALSE(Schema().Takes(document));
}

TEST(RecipeSchema, KnowsEveryFieldWithItsRangeAndDefault)
{
    const json schema = RecipeSchema();
    const auto entryOf = [](json object, std::string path)
    {
        for (std::size_t dot = path.find('.'); dot != std::string::npos; dot = path.find('.'))
        {
            object = object.at("properties").at(path.substr(0, dot));
            path.erase(0, dot + 1);
        }
        return object.at("properties").at(path);
    };
    for (const Field<Recipe>& field : RecipeFields())
    {
        const json entry = entryOf(schema, std::string(field.path));
        EXPECT_THAT(entry["description"].get<std::string>(), testing::HasSubstr(std::string(field.meaning)));
        EXPECT_EQ(entry.contains("default"), field.required == 0) << field.path;
        if (entry.contains("minimum"))
        {
            EXPECT_LE(entry["minimum"].get<double>(), field.low) << field.path;
            EXPECT_GE(entry["maximum"].get<double>(), field.high) << field.path;
        }
    }
    for (const StructuredField& field : StructuredFields())
        EXPECT_TRUE(entryOf(schema, std::string(field.path)).contains("description")) << field.path;
    const json zone = schema["properties"]["zones"]["properties"]["list"]["items"];
    for (const Field<ZoneSettings>& field : ZoneFields())
        EXPECT_TRUE(entryOf(zone, std::string(field.path)).contains("description")) << field.path;
    const json measure = schema["properties"]["texture"]["properties"]["features"]["items"];
    for (const Field<TextureFeature>& field : TextureFields())
        EXPECT_TRUE(entryOf(measure, std::string(field.path)).contains("description")) << field.path;
    for (const StructuredField& field : ZoneStructuredFields())
        EXPECT_TRUE(entryOf(zone, std::string(field.path)).contains("description")) << field.path;
}

} // namespace narvo::test
