// SPDX-License-Identifier: MIT
// The schema's text. A step that a release has written is never changed; changes are a new step.
#include "host/store/store_schema.h"

#include <array>
#include <string_view>
#include <utility>

#include "host/problem.h"

namespace narvo
{

namespace
{

constexpr const char* szTables = R"(
CREATE TABLE recipes (
  digest TEXT NOT NULL PRIMARY KEY,
  name TEXT NOT NULL,
  text TEXT NOT NULL
);
CREATE TABLE runs (
  id $key PRIMARY KEY,
  key TEXT NOT NULL UNIQUE,
  recipe TEXT NOT NULL REFERENCES recipes (digest),
  program TEXT NOT NULL,
  started BIGINT NOT NULL
);
CREATE TABLE images (
  id $key PRIMARY KEY,
  run BIGINT NOT NULL REFERENCES runs (id) ON DELETE CASCADE,
  key TEXT NOT NULL,
  sequence BIGINT NOT NULL,
  name TEXT NOT NULL,
  bytes BIGINT NOT NULL,
  modified BIGINT NOT NULL,
  digest TEXT NOT NULL,
  inspected BIGINT NOT NULL,
  status TEXT NOT NULL,
  width INTEGER NOT NULL,
  height INTEGER NOT NULL,
  blob_count BIGINT NOT NULL,
  read_milliseconds DOUBLE PRECISION,
  inspect_milliseconds DOUBLE PRECISION,
  UNIQUE (run, key)
);
CREATE INDEX images_in_order ON images (run, sequence, id);
CREATE TABLE problems (
  image BIGINT NOT NULL REFERENCES images (id) ON DELETE CASCADE,
  place INTEGER NOT NULL,
  field TEXT NOT NULL,
  value TEXT NOT NULL,
  allowed TEXT NOT NULL,
  PRIMARY KEY (image, place)
)$clustered;
CREATE TABLE regions (
  image BIGINT NOT NULL REFERENCES images (id) ON DELETE CASCADE,
  place INTEGER NOT NULL,
  name TEXT NOT NULL,
  code INTEGER NOT NULL,
  direction TEXT NOT NULL,
  "left" INTEGER NOT NULL,
  top INTEGER NOT NULL,
  "right" INTEGER NOT NULL,
  bottom INTEGER NOT NULL,
  outlines TEXT NOT NULL,
  pairs INTEGER NOT NULL,
  overflowed INTEGER NOT NULL,
  reruns INTEGER NOT NULL,
  dead_blobs INTEGER NOT NULL,
  inspect_milliseconds DOUBLE PRECISION,
  blob_milliseconds DOUBLE PRECISION,
  total_milliseconds DOUBLE PRECISION,
  PRIMARY KEY (image, place)
)$clustered;
CREATE TABLE warnings (
  image BIGINT NOT NULL REFERENCES images (id) ON DELETE CASCADE,
  region INTEGER NOT NULL,
  place INTEGER NOT NULL,
  text TEXT NOT NULL,
  PRIMARY KEY (image, region, place)
)$clustered;
CREATE TABLE blobs (
  image BIGINT NOT NULL REFERENCES images (id) ON DELETE CASCADE,
  region INTEGER NOT NULL,
  place INTEGER NOT NULL,
  number INTEGER NOT NULL,
  polarity TEXT NOT NULL,
  "left" INTEGER NOT NULL,
  top INTEGER NOT NULL,
  "right" INTEGER NOT NULL,
  bottom INTEGER NOT NULL,
  center_x INTEGER NOT NULL,
  center_y INTEGER NOT NULL,
  area INTEGER NOT NULL,
  peak INTEGER NOT NULL,
  peak_x INTEGER NOT NULL,
  peak_y INTEGER NOT NULL,
  max_difference INTEGER NOT NULL,
  mean_difference INTEGER NOT NULL,
  mean_grey INTEGER NOT NULL,
  mean_reference INTEGER NOT NULL,
  zone INTEGER NOT NULL,
  band INTEGER NOT NULL,
  single INTEGER NOT NULL,
  scale INTEGER NOT NULL,
  channel TEXT NOT NULL,
  label INTEGER NOT NULL,
  diameter INTEGER NOT NULL,
  angle DOUBLE PRECISION,
  major_axis DOUBLE PRECISION,
  minor_axis DOUBLE PRECISION,
  circularity DOUBLE PRECISION,
  elongation DOUBLE PRECISION,
  PRIMARY KEY (image, region, place)
)$clustered;
)";

constexpr const char* szVerdictsAndCrops = R"(
CREATE TABLE verdicts (
  image BIGINT NOT NULL REFERENCES images (id) ON DELETE CASCADE,
  place INTEGER NOT NULL,
  region INTEGER NOT NULL,
  blob INTEGER NOT NULL,
  verdict TEXT NOT NULL,
  source TEXT NOT NULL,
  given BIGINT NOT NULL,
  PRIMARY KEY (image, place)
)$clustered;
CREATE TABLE crops (
  image BIGINT NOT NULL REFERENCES images (id) ON DELETE CASCADE,
  place INTEGER NOT NULL,
  region INTEGER NOT NULL,
  blob INTEGER NOT NULL,
  kind TEXT NOT NULL,
  "left" INTEGER NOT NULL,
  top INTEGER NOT NULL,
  png $bytes NOT NULL,
  PRIMARY KEY (image, place)
);
)";

constexpr const char* szDrift = R"(
ALTER TABLE regions ADD COLUMN light DOUBLE PRECISION;
ALTER TABLE regions ADD COLUMN noise DOUBLE PRECISION;
ALTER TABLE regions ADD COLUMN pitch_x DOUBLE PRECISION;
ALTER TABLE regions ADD COLUMN pitch_y DOUBLE PRECISION;
)";

constexpr std::array<const char*, nStoreVersion> steps = {szTables, szVerdictsAndCrops, szDrift};

void RefuseNewer(const SqlDatabase& database, int found)
{
    if (found > nStoreVersion)
        throw HostError({{"--store " + database.Place(), "a store of version " + std::to_string(found),
                          "versions up to " + std::to_string(nStoreVersion) + ", or a newer narvo"}});
}

} // namespace

std::string SchemaStep(int version, const SqlDialect& dialect)
{
    std::string text = steps.at(static_cast<std::size_t>(version) - 1);
    const std::pair<std::string_view, const char*> words[] = {
        {"$key", dialect.key}, {"$bytes", dialect.bytes}, {"$clustered", dialect.clustered}};
    for (const auto& [word, meaning] : words)
        for (std::size_t at = text.find(word); at != text.npos; at = text.find(word, at))
            text.replace(at, word.size(), meaning);
    return text;
}

void BringUpToDate(SqlDatabase& database, int version)
{
    const int before = database.SchemaVersion();
    RefuseNewer(database, before);
    if (before >= version)
        return;
    database.Begin();
    try
    {
        database.LockSchema();
        // Another program may have been here since.
        for (int step = database.SchemaVersion() + 1; step <= version; ++step)
        {
            database.Execute(SchemaStep(step, database.Dialect()));
            database.SetSchemaVersion(step);
        }
        database.Commit();
    }
    catch (...)
    {
        database.Rollback();
        throw;
    }
}

void RequireVersion(SqlDatabase& database)
{
    const int found = database.SchemaVersion();
    RefuseNewer(database, found);
    if (found == 0)
        throw HostError({{"--store " + database.Place(), "no results in it", "a store that narvo has written"}});
    if (found < nStoreVersion)
        throw HostError(
            {{"--store " + database.Place(), "a store of version " + std::to_string(found),
              "version " + std::to_string(nStoreVersion) + "; narvo inspect --store with it brings it up to date"}});
}

} // namespace narvo
