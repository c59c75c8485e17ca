#include "PeerStores.h"

#include <cstring>
#include <filesystem>
#include <memory>

#include <hdf5.h>
#include <lmdb.h>
#include <rocksdb/c.h>
#include <sqlite3.h>

namespace vx::bench {

namespace {

class Hdf5Store : public PeerStore
{
public:
    bool write(const std::string& path, std::span<const float> samples) override
    {
        const hsize_t count = samples.size();
        const hid_t file = H5Fcreate(path.c_str(), H5F_ACC_TRUNC, H5P_DEFAULT, H5P_DEFAULT);
        const hid_t space = H5Screate_simple(1, &count, nullptr);
        const hid_t set =
            H5Dcreate2(file, "U", H5T_NATIVE_FLOAT, space, H5P_DEFAULT, H5P_DEFAULT, H5P_DEFAULT);
        const bool ok = H5Dwrite(set, H5T_NATIVE_FLOAT, H5S_ALL, H5S_ALL, H5P_DEFAULT, samples.data()) >= 0;
        H5Dclose(set);
        H5Sclose(space);
        return H5Fclose(file) >= 0 && ok;
    }

    bool read(const std::string& path, std::span<float> samples) override
    {
        const hid_t file = H5Fopen(path.c_str(), H5F_ACC_RDONLY, H5P_DEFAULT);
        const hid_t set = H5Dopen2(file, "U", H5P_DEFAULT);
        const bool ok = H5Dread(set, H5T_NATIVE_FLOAT, H5S_ALL, H5S_ALL, H5P_DEFAULT, samples.data()) >= 0;
        H5Dclose(set);
        return H5Fclose(file) >= 0 && ok;
    }
};

class LmdbStore : public PeerStore
{
public:
    bool write(const std::string& path, std::span<const float> samples) override
    {
        std::filesystem::remove(path);
        const Environment environment(path, samples.size_bytes(), 0);
        MDB_txn* transaction = nullptr;
        MDB_dbi table = 0;
        MDB_val key = keyOfArray();
        MDB_val value{samples.size_bytes(), const_cast<float*>(samples.data())};
        bool ok = mdb_txn_begin(environment.get(), nullptr, 0, &transaction) == 0 &&
                  mdb_dbi_open(transaction, nullptr, 0, &table) == 0;
        ok = ok && mdb_put(transaction, table, &key, &value, 0) == 0;
        return mdb_txn_commit(transaction) == 0 && ok;
    }

    bool read(const std::string& path, std::span<float> samples) override
    {
        const Environment environment(path, samples.size_bytes(), MDB_RDONLY);
        MDB_txn* transaction = nullptr;
        MDB_dbi table = 0;
        MDB_val key = keyOfArray();
        MDB_val value{};
        const bool ok = mdb_txn_begin(environment.get(), nullptr, MDB_RDONLY, &transaction) == 0 &&
                        mdb_dbi_open(transaction, nullptr, 0, &table) == 0 &&
                        mdb_get(transaction, table, &key, &value) == 0 &&
                        value.mv_size == samples.size_bytes();
        if (ok)
            std::memcpy(samples.data(), value.mv_data, value.mv_size);
        mdb_txn_abort(transaction);
        return ok;
    }

private:
    class Environment
    {
    public:
        Environment(const std::string& path, std::size_t bytes, unsigned flags)
        {
            mdb_env_create(&m_environment);
            mdb_env_set_mapsize(m_environment, bytes + bytes / 4 + (std::size_t{1} << 20));
            mdb_env_open(m_environment, path.c_str(), MDB_NOSUBDIR | MDB_NOSYNC | MDB_NOLOCK | flags, 0666);
        }
        ~Environment() { mdb_env_close(m_environment); }
        Environment(const Environment&) = delete;
        Environment& operator=(const Environment&) = delete;

        MDB_env* get() const { return m_environment; }

    private:
        MDB_env* m_environment = nullptr;
    };

    static MDB_val keyOfArray()
    {
        static char name[] = "U";
        return {1, name};
    }
};

class RocksdbStore : public PeerStore
{
public:
    bool write(const std::string& path, std::span<const float> samples) override
    {
        std::filesystem::remove_all(path);
        const Database database(path);
        const std::unique_ptr<rocksdb_writeoptions_t, decltype(&rocksdb_writeoptions_destroy)> options(
            rocksdb_writeoptions_create(), rocksdb_writeoptions_destroy);
        rocksdb_writeoptions_disable_WAL(options.get(), 1);
        Error error;
        rocksdb_put(database.get(), options.get(), "U", 1, reinterpret_cast<const char*>(samples.data()),
                    samples.size_bytes(), error.out());
        return !error.isSet();
    }

    bool read(const std::string& path, std::span<float> samples) override
    {
        const Database database(path);
        const std::unique_ptr<rocksdb_readoptions_t, decltype(&rocksdb_readoptions_destroy)> options(
            rocksdb_readoptions_create(), rocksdb_readoptions_destroy);
        Error error;
        rocksdb_pinnableslice_t* value =
            rocksdb_get_pinned(database.get(), options.get(), "U", 1, error.out());
        std::size_t bytes = 0;
        const char* data = value != nullptr ? rocksdb_pinnableslice_value(value, &bytes) : nullptr;
        const bool ok = !error.isSet() && bytes == samples.size_bytes();
        if (ok)
            std::memcpy(samples.data(), data, bytes);
        rocksdb_pinnableslice_destroy(value);
        return ok;
    }

private:
    class Error
    {
    public:
        Error() = default;
        ~Error() { rocksdb_free(m_text); }
        Error(const Error&) = delete;
        Error& operator=(const Error&) = delete;

        char** out() { return &m_text; }
        bool isSet() const { return m_text != nullptr; }

    private:
        char* m_text = nullptr;
    };

    class Database
    {
    public:
        explicit Database(const std::string& path) : m_options(rocksdb_options_create())
        {
            rocksdb_options_set_create_if_missing(m_options, 1);
            Error error;
            m_database = rocksdb_open(m_options, path.c_str(), error.out());
        }
        ~Database()
        {
            rocksdb_close(m_database);
            rocksdb_options_destroy(m_options);
        }
        Database(const Database&) = delete;
        Database& operator=(const Database&) = delete;

        rocksdb_t* get() const { return m_database; }

    private:
        rocksdb_options_t* m_options;
        rocksdb_t* m_database = nullptr;
    };
};

class SqliteStore : public PeerStore
{
public:
    bool write(const std::string& path, std::span<const float> samples) override
    {
        std::filesystem::remove(path);
        const Database database(path);
        bool ok = database.run("PRAGMA synchronous = OFF; PRAGMA journal_mode = OFF;"
                               "CREATE TABLE arrays (name TEXT PRIMARY KEY, samples BLOB)");
        sqlite3_stmt* statement = nullptr;
        ok = ok && sqlite3_prepare_v2(database.get(), "INSERT INTO arrays VALUES ('U', ?)", -1, &statement,
                                      nullptr) == SQLITE_OK;
        ok = ok &&
             sqlite3_bind_blob64(statement, 1, samples.data(), samples.size_bytes(), nullptr) == SQLITE_OK;
        ok = ok && sqlite3_step(statement) == SQLITE_DONE;
        sqlite3_finalize(statement);
        return ok;
    }

    bool read(const std::string& path, std::span<float> samples) override
    {
        const Database database(path);
        sqlite3_blob* blob = nullptr;
        bool ok = sqlite3_blob_open(database.get(), "main", "arrays", "samples", 1, 0, &blob) == SQLITE_OK;
        ok = ok &&
             sqlite3_blob_read(blob, samples.data(), static_cast<int>(samples.size_bytes()), 0) == SQLITE_OK;
        sqlite3_blob_close(blob);
        return ok;
    }

private:
    class Database
    {
    public:
        explicit Database(const std::string& path) { sqlite3_open(path.c_str(), &m_database); }
        ~Database() { sqlite3_close(m_database); }
        Database(const Database&) = delete;
        Database& operator=(const Database&) = delete;

        bool run(const char* statements) const
        {
            return sqlite3_exec(m_database, statements, nullptr, nullptr, nullptr) == SQLITE_OK;
        }
        sqlite3* get() const { return m_database; }

    private:
        sqlite3* m_database = nullptr;
    };
};

} // namespace

PeerStore& hdf5Store()
{
    static Hdf5Store store;
    return store;
}

PeerStore& lmdbStore()
{
    static LmdbStore store;
    return store;
}

PeerStore& rocksdbStore()
{
    static RocksdbStore store;
    return store;
}

PeerStore& sqliteStore()
{
    static SqliteStore store;
    return store;
}

} // namespace vx::bench
