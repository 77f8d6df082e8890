// Archives that a restore must refuse without changing anything.

#include "hostile_archive.h"

#include <archive_entry.h>
#include <gmock/gmock.h>
#include <unistd.h>

#include <fstream>

#include "state/archive_reader.h"
#include "state/restore.h"
#include "state_fixture.h"

namespace kelp::test {
namespace {

using ::testing::HasSubstr;

constexpr const char* kName = "state/snmp-engine";
constexpr const char* kContent = "engine 80001f88 boots 1\n";

class ArchiveReader : public StateTest {
  protected:
    ArchiveReader() { makeState("present"); }

    /// Expect that the archive is refused for this reason and that the state is unchanged.
    void expectRefusal(const std::string& reason) {
        const auto before = contentsOfState();
        EXPECT_THAT(failureOf([&] {
                        state::restoreState(state::configuredLayout(), {archive(), {}, false});
                    }),
                    HasSubstr(reason));
        EXPECT_EQ(contentsOfState(), before);
    }
    /// The same for an archive with these entries behind a manifest that promises one good file.
    void expectRefusalOf(const std::vector<HostileEntry>& entries, const std::string& reason) {
        std::vector<HostileEntry> all = {
            {"manifest.json", manifestWith({manifestEntry(kName, kContent)})}};
        all.insert(all.end(), entries.begin(), entries.end());
        writeArchive(archive(), all);
        expectRefusal(reason);
    }
    void expectRefusalOfManifest(const std::string& manifest, const std::string& reason) {
        writeArchive(archive(), {{"manifest.json", manifest}, {kName, kContent}});
        expectRefusal(reason);
    }
    void expectRefusalOfPromise(const std::string& entry, const std::string& reason) {
        expectRefusalOfManifest(manifestWith({entry}), reason);
    }
};

TEST_F(ArchiveReader, RefusesPathsThatLeadElsewhere) {
    expectRefusalOf({{"/etc/passwd", "x"}}, "has an absolute path");
    expectRefusalOf({{"state/../../x", "x"}}, "has a path that leads upwards");
    expectRefusalOf({{"..", "x"}}, "has a path that leads upwards");
    expectRefusalOf({{"state/\n", "x"}}, "control characters");
    expectRefusalOf({{std::string(300, 'a'), "x"}}, "too long");
}

TEST_F(ArchiveReader, RefusesEverythingButRegularFiles) {
    expectRefusalOf({{kName, "", AE_IFLNK, "/etc/passwd"}}, "is a link");
    expectRefusalOf({{kName, "", 0, "manifest.json"}}, "is a link");
    for (const unsigned type : {AE_IFCHR, AE_IFBLK, AE_IFIFO, AE_IFDIR})
        expectRefusalOf({{kName, "", type}}, "is not a regular file");
    HostileEntry sparse{kName};
    sparse.hole = std::uint64_t{1} << 40;
    expectRefusalOf({sparse}, "is a sparse file");
}

TEST_F(ArchiveReader, RefusesFilesThatItsManifestDoesNotPromise) {
    expectRefusalOf({{kName, kContent}, {kName, kContent}}, "or is there twice");
    expectRefusalOf({{kName, kContent}, {"manifest.json", "{}"}}, "or is there twice");
    expectRefusalOf({{"state/users.db", "x"}}, "not in its manifest");
    expectRefusalOf({{kName, std::string(kContent) + "and more"}}, "another size");
    std::string changed = kContent;
    changed.front() = 'E';
    expectRefusalOf({{kName, changed}}, "was changed");
    expectRefusalOf({}, "it lacks \"state/snmp-engine\"");
}

TEST_F(ArchiveReader, RefusesBombs) {
    HostileEntry bomb{kName};
    bomb.zeros = 64u << 20;
    expectRefusalOf({bomb}, "another size");
    bomb.name = "manifest.json";
    writeArchive(archive(), {bomb});
    expectRefusal("does not begin with a manifest");
    // more than any disk has
    expectRefusalOfPromise(
        manifestClaim(kName, std::to_string(std::uint64_t{1} << 49), std::string(64, 'a')),
        "the files need");
    expectRefusalOfPromise(manifestClaim(kName, "18446744073709551615", std::string(64, 'a')),
                           "without a possible size");
    expectRefusalOfPromise(
        manifestClaim("configuration/kelp.toml", "100000000", std::string(64, 'a')), "too large");
}

TEST_F(ArchiveReader, RefusesManifestsThatPromiseOtherFiles) {
    for (const char* const name :
         {"state/admin.token", "users.db", "state/../users.db", "state/changes-lists/../users.db",
          "state/changes-lists/alarms-1.list.part",
          "state/changes-lists/alarms-123456789012345678901.list", "state/oplog.db.rest-/../x",
          "state/audit.key.rest-1", "configuration/snmp.mappings.01", "configuration/../x"})
        expectRefusalOfPromise(manifestEntry(name, kContent), "unknown name");
    expectRefusalOfManifest(
        manifestWith({manifestEntry(kName, kContent), manifestEntry(kName, kContent)}), "twice");
    expectRefusalOfManifest(manifestWith({}), "it has no state");
    expectRefusalOfPromise(manifestClaim(kName, "-1", std::string(64, 'a')), "possible size");
    expectRefusalOfPromise(manifestClaim(kName, "1", std::string(64, 'A')), "checksum");
}

TEST_F(ArchiveReader, RefusesOtherManifests) {
    expectRefusalOfManifest("no JSON", "cannot be read");
    expectRefusalOfManifest("[]", "is not an object");
    expectRefusalOfManifest(std::string(100000, '['), "cannot be read");
    expectRefusalOfManifest(R"({"kind": "kelp support bundle"})", "not a \"kelp backup\"");
    expectRefusalOfManifest(R"({"kind": "kelp backup", "format": 2})", "format");
    writeArchive(archive(), {{kName, kContent}});
    expectRefusal("does not begin with a manifest");
    writeArchive(archive(), {});
    expectRefusal("does not begin with a manifest");
}

TEST_F(ArchiveReader, RefusesOtherCompressions) {
    const std::vector<HostileEntry> entries = {
        {"manifest.json", manifestWith({manifestEntry(kName, kContent)})}, {kName, kContent}};
    for (const Compression each : {Compression::Gzip, Compression::ZstdTwice}) {
        writeArchive(archive(), entries, each);
        expectRefusal("is ");
    }
    writeSecret(archive(), std::string(100000, 'x'));
    expectRefusal("not an archive of kelpctl");
    writeSecret(archive(), "");
    expectRefusal("is ");
}

TEST_F(ArchiveReader, RefusesAnArchiveThatEndsAnywhere) {
    std::string content(200000, '\0');
    for (std::size_t i = 0; i < content.size(); ++i)
        content[i] = static_cast<char>(i * i * 31 >> 7);
    writeArchive(archive(), {{"manifest.json", manifestWith({manifestEntry(kName, content)})},
                             {kName, content}});
    const std::string whole = contentOf(archive());
    for (std::size_t i = 1; i < 16; ++i) {
        writeSecret(archive(), whole.substr(0, whole.size() * i / 16));
        expectRefusal("is ");
    }
}

TEST_F(ArchiveReader, RefusesDamagedAndForeignDatabases) {
    const auto expectRefusalOfDatabase = [&](const std::string& content,
                                             const std::string& reason) {
        writeArchive(archive(),
                     {{"manifest.json", manifestWith({manifestEntry("state/users.db", content)})},
                      {"state/users.db", content}});
        expectRefusal(reason);
    };
    expectRefusalOfDatabase("no database", "is damaged");
    expectRefusalOfDatabase("", "is not the database that belongs there");
    makeDatabase(folder_ / "foreign", 1, "x");
    expectRefusalOfDatabase(contentOf(folder_ / "foreign"), "is not the database");
    makeDatabase(folder_ / "cut", 0x4B555352, std::string(100000, 'x'));
    const std::string whole = contentOf(folder_ / "cut");
    expectRefusalOfDatabase(whole.substr(0, whole.size() / 2), "is damaged");
}

TEST_F(ArchiveReader, RefusesFilesThatOthersControl) {
    writeArchive(archive(), {{"manifest.json", manifestWith({manifestEntry(kName, kContent)})},
                             {kName, kContent}});
    std::filesystem::create_symlink(archive(), folder_ / "link");
    EXPECT_THAT(failureOf([&] { state::ArchiveReader reader(folder_ / "link"); }),
                HasSubstr("symbolic link"));
    std::filesystem::permissions(archive(), std::filesystem::perms::all);
    expectRefusal("can be written by others");
    std::filesystem::remove(archive());
    expectRefusal("cannot be read");
    std::filesystem::create_directory(archive());
    expectRefusal("is not a regular file");
}

}  // namespace
}  // namespace kelp::test
