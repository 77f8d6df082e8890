#pragma once

#include <sqlite3.h>

#include <algorithm>
#include <atomic>
#include <cstdint>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <mutex>
#include <random>
#include <string>
#include <vector>

namespace kelp::test {

/// A disk whose power can be cut: an SQLite VFS above the default one. It remembers what a
/// database, its journal and its WAL file have after the last sync, and the writes since then.
/// After a cut some of these are on the disk, some not, and some in part (in sectors of 512
/// octets), whatever their order. The seed decides; a test prints it.
class PowerCutDisk {
  public:
    explicit PowerCutDisk(std::uint64_t seed) : random_(seed) {
        static std::atomic<int> disks{0};
        name_ = "power-cut-" + std::to_string(++disks);
        real_ = sqlite3_vfs_find(nullptr);
        vfs_ = *real_;
        vfs_.zName = name_.c_str();
        vfs_.pNext = nullptr;
        vfs_.pAppData = this;
        vfs_.szOsFile = static_cast<int>(sizeof(File)) + real_->szOsFile;
        vfs_.xOpen = &PowerCutDisk::open;
        vfs_.xDelete = &PowerCutDisk::remove;
        sqlite3_vfs_register(&vfs_, 0);
    }
    ~PowerCutDisk() { sqlite3_vfs_unregister(&vfs_); }
    PowerCutDisk(const PowerCutDisk&) = delete;
    PowerCutDisk& operator=(const PowerCutDisk&) = delete;

    /// The name of the VFS.
    const std::string& vfs() const { return name_; }

    /// Cut the power after this number of writes, truncations, syncs and deletions. From then on
    /// all of them fail.
    void cutAfter(std::uint64_t operations) { left_ = static_cast<std::int64_t>(operations); }
    bool isCut() const { return left_ < 0; }

    /// While true, each sync fails. Some of the writes since the last sync are then on the disk,
    /// and some are lost: a later sync does not repeat them.
    void failSyncs(bool fails) { syncsFail_ = fails; }

    /// Switch the power on again. Call it when no file is open. The files then have what the cut
    /// has left of them.
    void restore() {
        const std::lock_guard lock(mutex_);
        for (auto& [path, image] : images_) {
            loseSome(image);
            std::ofstream(path, std::ios::binary | std::ios::trunc) << image.synced;
            std::filesystem::remove(path + "-shm");
        }
        images_.clear();
        left_ = kForever;
    }

  private:
    static constexpr std::size_t kSector = 512;
    static constexpr std::int64_t kForever = INT64_MAX;

    struct Write {
        bool isTruncation = false;
        std::size_t offset = 0;  ///< of a truncation: the new size
        std::string octets;
    };
    struct Image {
        std::string synced;
        std::vector<Write> unsynced;
    };
    struct File {
        sqlite3_file base;
        PowerCutDisk* disk;
        Image* image;  ///< null: a file that need not survive
        sqlite3_file* real() { return reinterpret_cast<sqlite3_file*>(this + 1); }
    };

    static File& fileOf(sqlite3_file* file) { return *reinterpret_cast<File*>(file); }
    static PowerCutDisk& diskOf(sqlite3_vfs* vfs) {
        return *static_cast<PowerCutDisk*>(vfs->pAppData);
    }

    static void apply(const Write& write, std::string& content) {
        if (write.isTruncation) {
            content.resize(write.offset);
            return;
        }
        content.resize(std::max(content.size(), write.offset + write.octets.size()));
        content.replace(write.offset, write.octets.size(), write.octets);
    }
    void applyByChance(const Write& write, std::uint64_t kept, std::string& content) {
        const auto chance = [this](std::uint64_t outOf4) {
            return std::uniform_int_distribution<std::uint64_t>(0, 3)(random_) < outOf4;
        };
        if (!chance(kept))
            return;
        if (write.isTruncation || chance(2)) {
            apply(write, content);
            return;
        }
        for (std::size_t at = 0; at < write.octets.size();) {
            const std::size_t end =
                std::min(write.octets.size(), at + kSector - (write.offset + at) % kSector);
            if (chance(2))
                apply({false, write.offset + at, write.octets.substr(at, end - at)}, content);
            at = end;
        }
    }
    /// All writes since the last sync are on the disk, none of them, or some.
    void loseSome(Image& image) {
        const std::uint64_t kept = std::uniform_int_distribution<std::uint64_t>(0, 4)(random_);
        for (const Write& write : image.unsynced)
            applyByChance(write, kept, image.synced);
        image.unsynced.clear();
    }
    /// Count an operation. False when there is no power for it.
    bool hasPower() {
        if (left_ == kForever)
            return true;
        return --left_ >= 0;
    }

    static int open(sqlite3_vfs* vfs, const char* path, sqlite3_file* file, int flags, int* out) {
        PowerCutDisk& disk = diskOf(vfs);
        File& self = fileOf(file);
        self.base.pMethods = nullptr;
        self.disk = &disk;
        self.image = nullptr;
        const int result = disk.real_->xOpen(disk.real_, path, self.real(), flags, out);
        if (result != SQLITE_OK)
            return result;
        self.base.pMethods = &methods();
        if ((flags & (SQLITE_OPEN_MAIN_DB | SQLITE_OPEN_MAIN_JOURNAL | SQLITE_OPEN_WAL)) != 0)
            self.image = &disk.imageOf(path);
        return SQLITE_OK;
    }
    Image& imageOf(const char* path) {
        const std::lock_guard lock(mutex_);
        const auto [place, isNew] = images_.try_emplace(path);
        if (isNew) {
            std::ifstream in(path, std::ios::binary);
            place->second.synced.assign(std::istreambuf_iterator<char>(in), {});
        }
        return place->second;
    }
    static int remove(sqlite3_vfs* vfs, const char* path, int syncFolder) {
        PowerCutDisk& disk = diskOf(vfs);
        const std::lock_guard lock(disk.mutex_);
        const auto found = disk.images_.find(path);
        if (found != disk.images_.end()) {
            if (!disk.hasPower())
                return SQLITE_IOERR_DELETE;
            found->second = {};
        }
        return disk.real_->xDelete(disk.real_, path, syncFolder);
    }

    static int write(sqlite3_file* file, const void* bytes, int count, sqlite3_int64 offset) {
        File& self = fileOf(file);
        if (self.image != nullptr) {
            const std::lock_guard lock(self.disk->mutex_);
            if (self.disk->isCut())
                return SQLITE_IOERR_WRITE;
            self.image->unsynced.push_back(
                {false, static_cast<std::size_t>(offset),
                 std::string(static_cast<const char*>(bytes), static_cast<std::size_t>(count))});
            if (!self.disk->hasPower())
                return SQLITE_IOERR_WRITE;
        }
        return self.real()->pMethods->xWrite(self.real(), bytes, count, offset);
    }
    static int truncate(sqlite3_file* file, sqlite3_int64 size) {
        File& self = fileOf(file);
        if (self.image != nullptr) {
            const std::lock_guard lock(self.disk->mutex_);
            if (self.disk->isCut())
                return SQLITE_IOERR_TRUNCATE;
            self.image->unsynced.push_back({true, static_cast<std::size_t>(size), {}});
            if (!self.disk->hasPower())
                return SQLITE_IOERR_TRUNCATE;
        }
        return self.real()->pMethods->xTruncate(self.real(), size);
    }
    /// Faster than a real sync: the test reads the file only after restore().
    static int sync(sqlite3_file* file, int /*flags*/) {
        File& self = fileOf(file);
        if (self.image == nullptr)
            return SQLITE_OK;
        const std::lock_guard lock(self.disk->mutex_);
        if (!self.disk->hasPower())
            return SQLITE_IOERR_FSYNC;
        if (self.disk->syncsFail_) {
            self.disk->loseSome(*self.image);
            return SQLITE_IOERR_FSYNC;
        }
        for (const Write& write : self.image->unsynced)
            apply(write, self.image->synced);
        self.image->unsynced.clear();
        return SQLITE_OK;
    }

    // the others call the real file
    static int close(sqlite3_file* file) {
        return fileOf(file).real()->pMethods->xClose(fileOf(file).real());
    }
    static int read(sqlite3_file* file, void* bytes, int count, sqlite3_int64 offset) {
        return fileOf(file).real()->pMethods->xRead(fileOf(file).real(), bytes, count, offset);
    }
    static int size(sqlite3_file* file, sqlite3_int64* bytes) {
        return fileOf(file).real()->pMethods->xFileSize(fileOf(file).real(), bytes);
    }
    static int lock(sqlite3_file* file, int level) {
        return fileOf(file).real()->pMethods->xLock(fileOf(file).real(), level);
    }
    static int unlock(sqlite3_file* file, int level) {
        return fileOf(file).real()->pMethods->xUnlock(fileOf(file).real(), level);
    }
    static int checkLock(sqlite3_file* file, int* isReserved) {
        return fileOf(file).real()->pMethods->xCheckReservedLock(fileOf(file).real(), isReserved);
    }
    static int control(sqlite3_file* file, int operation, void* argument) {
        return fileOf(file).real()->pMethods->xFileControl(fileOf(file).real(), operation,
                                                           argument);
    }
    static int sectorSize(sqlite3_file* file) {
        return fileOf(file).real()->pMethods->xSectorSize(fileOf(file).real());
    }
    /// No promise beyond the one that this disk keeps: a write does not harm its neighbours.
    static int characteristics(sqlite3_file* /*file*/) { return SQLITE_IOCAP_POWERSAFE_OVERWRITE; }
    static int shmMap(sqlite3_file* file, int page, int bytes, int extend, void volatile** out) {
        return fileOf(file).real()->pMethods->xShmMap(fileOf(file).real(), page, bytes, extend,
                                                      out);
    }
    static int shmLock(sqlite3_file* file, int offset, int count, int flags) {
        return fileOf(file).real()->pMethods->xShmLock(fileOf(file).real(), offset, count, flags);
    }
    static void shmBarrier(sqlite3_file* file) {
        fileOf(file).real()->pMethods->xShmBarrier(fileOf(file).real());
    }
    static int shmUnmap(sqlite3_file* file, int remove) {
        return fileOf(file).real()->pMethods->xShmUnmap(fileOf(file).real(), remove);
    }
    static const sqlite3_io_methods& methods() {
        static const sqlite3_io_methods table = {2,
                                                 &close,
                                                 &read,
                                                 &write,
                                                 &truncate,
                                                 &sync,
                                                 &size,
                                                 &lock,
                                                 &unlock,
                                                 &checkLock,
                                                 &control,
                                                 &sectorSize,
                                                 &characteristics,
                                                 &shmMap,
                                                 &shmLock,
                                                 &shmBarrier,
                                                 &shmUnmap,
                                                 nullptr,
                                                 nullptr};
        return table;
    }

    std::string name_;
    sqlite3_vfs* real_ = nullptr;
    sqlite3_vfs vfs_{};
    std::mutex mutex_;
    std::map<std::string, Image> images_;
    std::atomic<std::int64_t> left_{kForever};
    std::atomic<bool> syncsFail_{false};
    std::mt19937_64 random_;
};

}  // namespace kelp::test
