// A prepared statement that finalizes itself, and the conversions between columns and values.
//
// Threads: the thread of its connection.
#pragma once

#include <QByteArray>
#include <QByteArrayView>
#include <QString>
#include <memory>
#include <sqlite3.h>

class Statement {
public:
    /// Prepares `sql`; the statement tests false if that failed, as it does without a connection.
    /// Holds the connection's lock while it lives: each look at a column takes it, which costs next to nothing for who
    /// has it already, and values may be looked at without taking it.
    Statement(sqlite3 *connection, const char *sql) : lock_(connection ? sqlite3_db_mutex(connection) : nullptr) {
        sqlite3_mutex_enter(lock_);
        if (connection)
            sqlite3_prepare_v2(connection, sql, -1, &handle_, nullptr);
    }
    ~Statement() {
        sqlite3_finalize(handle_);
        sqlite3_mutex_leave(lock_);
    }
    Statement(const Statement &) = delete;
    Statement &operator=(const Statement &) = delete;

    explicit operator bool() const { return handle_ != nullptr; }
    sqlite3_stmt *handle() const { return handle_; }

    /// The binders fill the parameters from left to right. Text is copied.
    Statement &bindInt(int value) {
        sqlite3_bind_int(handle_, ++bound_, value);
        return *this;
    }
    Statement &bindInt64(qint64 value) {
        sqlite3_bind_int64(handle_, ++bound_, value);
        return *this;
    }
    Statement &bindText(const QByteArray &utf8) {
        sqlite3_bind_text64(handle_, ++bound_, utf8.constData(), static_cast<sqlite3_uint64>(utf8.size()),
                            SQLITE_TRANSIENT, SQLITE_UTF8);
        return *this;
    }

    Statement &bindBlob(QByteArrayView bytes) {
        sqlite3_bind_blob64(handle_, ++bound_, bytes.data(), static_cast<sqlite3_uint64>(bytes.size()),
                            SQLITE_TRANSIENT);
        return *this;
    }

    int step() { return sqlite3_step(handle_); }
    /// Ready for another run with other parameters.
    void reset() {
        sqlite3_reset(handle_);
        bound_ = 0;
    }

    int integer(int column) const { return sqlite3_column_int(handle_, column); }

    /// The column's number cut to an integer. Other programs may have stored one that no integer holds; that gives 0.
    qint64 cutDouble(int column) const {
        const double value = sqlite3_column_double(handle_, column);
        return value > -9.2e18 && value < 9.2e18 ? static_cast<qint64>(value) : 0;
    }

    /// The column's UTF-8 bytes, valid until the next step; null data for NULL.
    QByteArrayView bytes(int column) const {
        sqlite3_value *const value = sqlite3_column_value(handle_, column);
        const auto *text = reinterpret_cast<const char *>(sqlite3_value_text(value));
        return {text, text ? sqlite3_value_bytes(value) : 0};
    }
    /// The column as it was stored, valid until the next step.
    QByteArrayView blob(int column) const {
        const auto *bytes = static_cast<const char *>(sqlite3_column_blob(handle_, column));
        return {bytes, bytes ? sqlite3_column_bytes(handle_, column) : 0};
    }
    QString text(int column) const { return QString::fromUtf8(bytes(column)); }

private:
    sqlite3_mutex *lock_; // null, which is no lock, without a connection
    sqlite3_stmt *handle_ = nullptr;
    int bound_ = 0;
};
