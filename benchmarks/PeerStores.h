#pragma once

#include <span>
#include <string>
#include <vector>

/// Other stores that keep arrays of floats, each used as its own manual suggests for one array: HDF5 with
/// one contiguous data set, LMDB with one value, RocksDB with one value, SQLite with one blob. None of them
/// is asked to survive a crash of the system (no fsync), as the library's cache does not.
namespace vx::bench {

/// An array in a file, or in a directory, of a store.
class PeerStore
{
public:
    virtual ~PeerStore() = default;
    /// Makes the file `path` anew with `samples` in it. Returns whether that worked.
    virtual bool write(const std::string& path, std::span<const float> samples) = 0;
    /// Opens `path`, fills `samples` and closes it.
    virtual bool read(const std::string& path, std::span<float> samples) = 0;
};

PeerStore& hdf5Store();
PeerStore& lmdbStore();
PeerStore& rocksdbStore();
PeerStore& sqliteStore();

} // namespace vx::bench
