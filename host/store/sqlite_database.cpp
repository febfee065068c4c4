// SPDX-License-Identifier: MIT
// Connection, statements and errors of SQLite.
#include "host/store/sqlite_database.h"

#include <cmath>
#include <filesystem>
#include <limits>
#include <map>
#include <new>
#include <utility>

#include <sqlite3.h>
#include <unistd.h>

#include "host/problem.h"

namespace narvo
{

namespace
{

namespace fs = std::filesystem;

/// Marks the files of this program, "NARV".
constexpr int nApplication = 0x4E415256;

constexpr int nLockPause = 20; ///< milliseconds

constexpr SqlDialect sqliteDialect = {"INTEGER", "BLOB", " WITHOUT ROWID"};

struct CloseConnection
{
    void operator()(sqlite3* connection) const { sqlite3_close_v2(connection); }
};

struct FinalizeStatement
{
    void operator()(sqlite3_stmt* statement) const { sqlite3_finalize(statement); }
};

class SqliteRow : public SqlRow
{
public:
    explicit SqliteRow(sqlite3_stmt* statement) : m_statement(statement) {}
    std::int64_t Integer(int column) const override { return sqlite3_column_int64(m_statement, column); }
    double Real(int column) const override
    {
        return sqlite3_column_type(m_statement, column) == SQLITE_NULL ? std::numeric_limits<double>::quiet_NaN()
                                                                       : sqlite3_column_double(m_statement, column);
    }
    std::string Text(int column) const override { return Bytes(column); }
    std::string Bytes(int column) const override
    {
        // The pointer first: asking for the size may convert the value.
        const void* bytes = sqlite3_column_blob(m_statement, column);
        const auto count = static_cast<std::size_t>(sqlite3_column_bytes(m_statement, column));
        return bytes == nullptr ? std::string() : std::string(static_cast<const char*>(bytes), count);
    }

private:
    sqlite3_stmt* m_statement;
};

/// The file as a URI of SQLite, which can say more than a name.
std::string UriOf(const std::string& file, const char* parameters)
{
    std::string uri = "file:";
    constexpr std::string_view digits = "0123456789ABCDEF";
    for (const char letter : fs::absolute(file).string())
        if (letter == '%' || letter == '?' || letter == '#')
            uri += {'%', digits[static_cast<unsigned char>(letter) >> 4U],
                    digits[static_cast<unsigned char>(letter) & 15U]};
        else
            uri += letter;
    return uri + parameters;
}

class SqliteDatabase : public SqlDatabase
{
public:
    SqliteDatabase(std::string file, StoreAccess access) : m_file(std::move(file)), m_access(access)
    {
        CheckFile(access);
        if (access == StoreAccess_Read)
            OpenToRead();
        else
            OpenToWrite();
    }

    const SqlDialect& Dialect() const override { return sqliteDialect; }
    // At once for writing: a transaction that reads first could not become one that writes beside another.
    void Begin() override { Execute("BEGIN IMMEDIATE"); }
    void BeginReading() override { Execute("BEGIN"); }
    void Commit() override
    {
        Execute("COMMIT");
        if (m_access == StoreAccess_Write)
            RequireInPlace();
    }
    void Rollback() noexcept override
    {
        if (sqlite3_get_autocommit(m_connection.get()) == 0)
            sqlite3_exec(m_connection.get(), "ROLLBACK", nullptr, nullptr, nullptr);
    }

    void Execute(const std::string& statements) override
    {
        const int code = sqlite3_exec(m_connection.get(), statements.c_str(), nullptr, nullptr, nullptr);
        if (code != SQLITE_OK)
            Refuse(code);
    }

    void Run(const std::string& statement, std::span<const SqlValue> values,
             const std::function<void(const SqlRow&)>& take) override
    {
        sqlite3_stmt* prepared = Prepared(statement);
        struct Reset
        {
            sqlite3_stmt* statement;
            ~Reset()
            {
                sqlite3_reset(statement);
                sqlite3_clear_bindings(statement);
            }
        } reset{prepared};
        for (std::size_t i = 0; i < values.size(); ++i)
            if (const int code = Bind(prepared, static_cast<int>(i) + 1, values[i]); code != SQLITE_OK)
                Refuse(code);
        const SqliteRow row(prepared);
        for (;;)
        {
            const int code = sqlite3_step(prepared);
            if (code == SQLITE_DONE)
                return;
            if (code != SQLITE_ROW)
                Refuse(code);
            if (take)
                take(row);
        }
    }

    int SchemaVersion() override
    {
        // All three of one moment: another program may make the store between two reads.
        Execute("SAVEPOINT version");
        const int version = Number("PRAGMA user_version");
        const int application = Number("PRAGMA application_id");
        const int tables = Number("SELECT count(*) FROM sqlite_master");
        Execute("RELEASE version");
        if (application != nApplication && (application != 0 || version != 0 || tables != 0))
            throw HostError(
                {{"--store " + Place(), "a database of another program", "results of narvo, or a new file"}});
        return version;
    }

    void SetSchemaVersion(int version) override
    {
        Execute("PRAGMA user_version = " + std::to_string(version));
        Execute("PRAGMA application_id = " + std::to_string(nApplication));
    }

    void LockSchema() override {} // Begin locks the file

    std::string Place() const override { return m_file; }

private:
    void CheckFile(StoreAccess access) const
    {
        std::error_code error;
        const fs::file_status status = fs::status(m_file, error);
        if (status.type() == fs::file_type::not_found && access == StoreAccess_Read)
            throw HostError({{"--store " + m_file, "not there", "a store that narvo has written"}});
        if (fs::exists(status) && status.type() != fs::file_type::regular)
            throw HostError({{"--store " + m_file, "no regular file", "a file, or postgresql://..."}});
    }

    void Open(const std::string& uri, int flags)
    {
        sqlite3* connection = nullptr;
        const int code = sqlite3_open_v2(uri.c_str(), &connection, flags | SQLITE_OPEN_URI, nullptr);
        m_connection.reset(connection);
        if (code != SQLITE_OK)
            Refuse(code);
        sqlite3_extended_result_codes(connection, 1);
        sqlite3_busy_timeout(connection, nBusyMilliseconds);
        Execute("PRAGMA foreign_keys = ON");
    }

    void OpenToRead()
    {
        Open(UriOf(m_file, "?mode=ro"), SQLITE_OPEN_READONLY);
        // The log needs a file beside the store even to read. Where none can be made and none is there, nobody writes.
        std::error_code error;
        const std::string folder = fs::absolute(m_file).parent_path().string();
        if (access(folder.c_str(), W_OK) != 0 && !fs::exists(m_file + "-wal", error))
            Open(UriOf(m_file, "?mode=ro&immutable=1"), SQLITE_OPEN_READONLY);
    }

    void OpenToWrite()
    {
        Open(UriOf(m_file, ""), SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE);
        SchemaVersion(); // refuses what is no store before it is changed
        if (sqlite3_db_readonly(m_connection.get(), "main") == 1)
            throw WriteError(m_file, "read-only");
        // Readers go on while one writes; and a commit is one write at the end of the log.
        // Of two programs that open a new file at once, one may find it locked without having waited.
        for (int tries = 0; Text("PRAGMA journal_mode") != "wal"; ++tries)
        {
            const int code = sqlite3_exec(m_connection.get(), "PRAGMA journal_mode = WAL", nullptr, nullptr, nullptr);
            if (code != SQLITE_OK && ((code & 0xff) != SQLITE_BUSY || tries == nBusyMilliseconds / nLockPause))
                Refuse(code);
            if (code != SQLITE_OK)
                sqlite3_sleep(nLockPause);
            else if (tries == nBusyMilliseconds / nLockPause)
                break; // a file system without shared memory: the older journal, which is as safe and slower
        }
        m_hasLog = Text("PRAGMA journal_mode") == "wal";
        // An acknowledged image outlives a power failure: the log is on the disk when a commit returns.
        Execute("PRAGMA synchronous = FULL");
    }

    /// What is committed to a file that is no longer under its name, or to such a log, is not there for anybody.
    void RequireInPlace() const
    {
        int moved = 0;
        sqlite3_file_control(m_connection.get(), "main", SQLITE_FCNTL_HAS_MOVED, &moved);
        std::error_code error;
        if (moved != 0 || (m_hasLog && !fs::exists(m_file + "-wal", error)))
            throw StoreGoneError({{"--store " + m_file, "removed or replaced during the run",
                                   "a file that nothing else touches during a run; --resume adds what it lacks"}});
    }

    static int Bind(sqlite3_stmt* statement, int place, const SqlValue& value)
    {
        if (const auto* number = std::get_if<std::int64_t>(&value))
            return sqlite3_bind_int64(statement, place, *number);
        if (const auto* real = std::get_if<double>(&value))
            return std::isnan(*real) ? sqlite3_bind_null(statement, place)
                                     : sqlite3_bind_double(statement, place, *real);
        if (const auto* text = std::get_if<std::string>(&value))
            return sqlite3_bind_text64(statement, place, text->data(), text->size(), SQLITE_STATIC, SQLITE_UTF8);
        const std::string_view bytes = std::get<SqlBytes>(value).bytes;
        // A null pointer would be NULL, not bytes without any.
        return sqlite3_bind_blob64(statement, place, bytes.empty() ? "" : bytes.data(), bytes.size(), SQLITE_STATIC);
    }

    sqlite3_stmt* Prepared(const std::string& statement)
    {
        auto& prepared = m_statements[statement];
        if (!prepared)
        {
            sqlite3_stmt* made = nullptr;
            const int code = sqlite3_prepare_v3(m_connection.get(), statement.c_str(), -1, SQLITE_PREPARE_PERSISTENT,
                                                &made, nullptr);
            prepared.reset(made);
            if (code != SQLITE_OK)
                Refuse(code);
        }
        return prepared.get();
    }

    int Number(const std::string& statement)
    {
        int number = 0;
        Run(statement, {}, [&](const SqlRow& row) { number = static_cast<int>(row.Integer(0)); });
        return number;
    }

    std::string Text(const std::string& statement)
    {
        std::string text;
        Run(statement, {}, [&](const SqlRow& row) { text = row.Text(0); });
        return text;
    }

    [[noreturn]] void Refuse(int code) const
    {
        const std::string said = m_connection ? sqlite3_errmsg(m_connection.get()) : sqlite3_errstr(code);
        const std::string field = "--store " + m_file;
        switch (code & 0xff)
        {
        case SQLITE_BUSY:
        case SQLITE_LOCKED:
            throw StoreAwayError(
                {{field, "locked by another program for more than " + std::to_string(nBusyMilliseconds / 1000) + " s",
                  "a store whose other writers end their transactions"}});
        case SQLITE_NOTADB:
            throw HostError({{field, "no database", "a file of SQLite that narvo has written, or a new name"}});
        case SQLITE_CORRUPT:
            throw WriteError({{field, "damaged: " + said, "a whole file, or a new name"}});
        case SQLITE_FULL:
            throw WriteError({{field, "disk full", "a place with room"}});
        case SQLITE_IOERR:
            // A quota or a limit of sizes comes as such an error, too.
            throw WriteError({{field,
                               said + ", as where a quota or a limit of file sizes is reached (SQLite code " +
                                   std::to_string(code) + ")",
                               "a disk that works, with room"}});
        case SQLITE_READONLY:
        case SQLITE_PERM:
            throw WriteError({{field, "read-only", "a file and a folder that can be written"}});
        case SQLITE_CANTOPEN:
            throw WriteError({{field, "cannot be opened", "a file in a folder that is there and can be written"}});
        case SQLITE_NOMEM:
            throw std::bad_alloc();
        default:
            throw WriteError({{field, said + " (SQLite code " + std::to_string(code) + ")", "a usable store"}});
        }
    }

    std::string m_file;
    StoreAccess m_access;
    bool m_hasLog = false; ///< a second file, beside the first, of which a commit becomes a part
    // The statements go before the connection that they belong to.
    std::unique_ptr<sqlite3, CloseConnection> m_connection;
    std::map<std::string, std::unique_ptr<sqlite3_stmt, FinalizeStatement>> m_statements;
};

} // namespace

std::unique_ptr<SqlDatabase> OpenSqlite(const std::string& file, StoreAccess access)
{
    return std::make_unique<SqliteDatabase>(file, access);
}

} // namespace narvo
