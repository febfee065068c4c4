// SPDX-License-Identifier: MIT
// What the store needs of a database: statements with numbered values, transactions, the version of the schema.
#pragma once

#include <cstdint>
#include <functional>
#include <span>
#include <string>
#include <string_view>
#include <variant>

namespace narvo
{

/// Bytes that are no text; owned by the caller.
struct SqlBytes
{
    std::string_view bytes;
};

/// A double that is no number is kept as NULL, and comes back as such.
using SqlValue = std::variant<std::int64_t, double, std::string, SqlBytes>;

/// A row of an answer, valid until the call that it was given to returns.
class SqlRow
{
public:
    virtual ~SqlRow() = default;
    virtual std::int64_t Integer(int column) const = 0;
    virtual double Real(int column) const = 0;
    virtual std::string Text(int column) const = 0;
    virtual std::string Bytes(int column) const = 0;
};

/// Where the databases differ in the text of the schema.
struct SqlDialect
{
    const char* key;       ///< type of a number that the database gives to each row
    const char* bytes;     ///< type of bytes
    const char* clustered; ///< behind a table whose rows lie in the order of their key
};

/// One connection. Every call throws StoreAwayError where it may succeed later, otherwise WriteError or, on opening,
/// HostError.
class SqlDatabase
{
public:
    virtual ~SqlDatabase() = default;
    virtual const SqlDialect& Dialect() const = 0;
    /// Begins a transaction that writes, and waits for another that does. Connects again where the connection was lost.
    virtual void Begin() = 0;
    /// Begins a transaction that only reads, and sees what is there now until it ends. Connects again likewise.
    virtual void BeginReading() = 0;
    virtual void Commit() = 0;
    /// Does nothing where there is no transaction; throws nothing.
    virtual void Rollback() noexcept = 0;
    /// Statements without values and answers, separated by semicolons.
    virtual void Execute(const std::string& statements) = 0;
    /// One statement with $1, $2, ... in ascending order, prepared when it is first run; `take` gets each row.
    virtual void Run(const std::string& statement, std::span<const SqlValue> values,
                     const std::function<void(const SqlRow&)>& take = {}) = 0;
    /// Version of the schema, 0 where there is none. @throws HostError where the place belongs to something else
    virtual int SchemaVersion() = 0;
    virtual void SetSchemaVersion(int version) = 0;
    /// For the time in which the schema is made, so that two programs do not both make it; within a transaction.
    virtual void LockSchema() = 0;
    /// Without password.
    virtual std::string Place() const = 0;
};

} // namespace narvo
