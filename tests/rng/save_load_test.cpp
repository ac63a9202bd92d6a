// Stream images: the byte layout, refused and damaged images, file names and file errors, and
// allocation failures. Round trips of every built generator are in contract_test.cpp.
#include <gtest/gtest.h>

#include <cstring>
#include <filesystem>
#include <string>

#include "files.h"
#include "rng/stream.h"
#include "rng_test.h"

namespace {

using korb::test::draw_ints;
using korb::test::make_stream;
using korb::test::Stream;
using korb::test::TempDir;
using korb::test::write_file;

void *block_of(const std::string &bytes) {
    void *p = korbMalloc(bytes.size(), 64);
    std::memcpy(p, bytes.data(), bytes.size());
    return p;
}

std::string image_of(const BixStream *s) {
    std::string image(static_cast<size_t>(__bixGetStreamSize(s)), '\0');
    EXPECT_EQ(__bixSaveStreamM(s, image.data()), BIX_ERROR_OK);
    return image;
}

template <class T>
std::string bytes_of(T value) {
    return std::string(reinterpret_cast<const char *>(&value), sizeof value);
}

// Appends a chunk record (key, id, size, data) to an image and counts it in its header.
void append_chunk(std::string &image, uint32_t key, uint64_t id0, uint64_t id1,
                  const std::string &data) {
    image += bytes_of(key) + bytes_of(id0) + bytes_of(id1) +
             bytes_of(static_cast<uint32_t>(data.size())) + data;
    uint32_t count = 0;
    std::memcpy(&count, image.data() + 12, 4);
    image.replace(12, 4, bytes_of(count + 1));
}

// An MCG31M1 stream with a private chunk (key 1) and a shared one (key 2, id {id0, 1}).
Stream with_two_chunks(uint32_t seed, uint64_t id0) {
    Stream s = make_stream(BIX_BRNG_MCG31M1, seed);
    EXPECT_EQ(__bixAddChunk(s.get(), 1, nullptr, block_of("private"), 7), BIX_ERROR_OK);
    const uint64_t id[2] = {id0, 1};
    EXPECT_EQ(__bixAddChunk(s.get(), 2, id, block_of("shared chunk"), 12), BIX_ERROR_OK);
    return s;
}

struct Loaded {
    int status;
    Stream stream;
};

Loaded load_file(const std::string &path, int length = -1) {
    BixStream *s = nullptr;
    const int status = __bixLoadStreamF(&s, path.c_str(), length);
    return {status, Stream(s)};
}

Loaded load_memory(const std::string &image) {
    BixStream *s = nullptr;
    const int status = __bixLoadStreamM(&s, image.data());
    return {status, Stream(s)};
}

TEST(SavedImages, LayoutByteForByte) {
    Stream s = make_stream(BIX_BRNG_MCG31M1, 0x01020304);
    // Version 1, "RNG", reserved 0, header size 20, state length 8, no chunks, id 0x100000,
    // then the state: x, a = 1132489760.
    const std::string fresh("\1\0\0\0RNG\0\x14\0\x08\0\0\0\0\0\0\0\x10\0\4\3\2\1\x20\x6C\x80\x43",
                            28);
    EXPECT_EQ(image_of(s.get()), fresh);

    // Chunks follow in list order: the one attached last comes first.
    ASSERT_EQ(__bixAddChunk(s.get(), 7, nullptr, block_of("xyz"), 3), BIX_ERROR_OK);
    const uint64_t id[2] = {0x1112131415161718, 0x2122232425262728};
    ASSERT_EQ(__bixAddChunk(s.get(), 0x0A0B0C0D, id, block_of("pq"), 2), BIX_ERROR_OK);
    std::string expected = fresh;
    append_chunk(expected, 0x0A0B0C0D, id[0], id[1], "pq");
    append_chunk(expected, 7, 0, 0, "xyz");
    EXPECT_EQ(image_of(s.get()), expected);
}

TEST(SavedImages, RefusedAndAcceptedHeaders) {
    Stream s = make_stream(BIX_BRNG_MCG31M1, 77);
    const std::string good = image_of(s.get());
    const std::vector<uint32_t> next = draw_ints(s.get(), 4);
    struct Case {
        const char *what;
        size_t offset;
        std::string bytes;
        int from_file;  // the code from a file; memory refuses all with BIX_ERROR_BAD_MEM_FORMAT
    };
    const Case cases[] = {
        {"version 2", 0, bytes_of(2), BIX_ERROR_UNSUPPORTED_FILE_VER},
        {"bad mark beats version 2", 0, bytes_of(2) + "RNX", BIX_ERROR_BAD_FILE_FORMAT},
        {"header size 19", 8, bytes_of<uint16_t>(19), BIX_ERROR_BAD_FILE_FORMAT},
        {"state length 9", 10, bytes_of<uint16_t>(9), BIX_ERROR_BAD_FILE_FORMAT},
        {"member 1 of MCG31M1", 16, bytes_of(BIX_BRNG_MCG31M1 + 1), BIX_ERROR_BAD_FILE_FORMAT},
        {"row past the registry", 16, bytes_of(0x7FF00000), BIX_ERROR_BAD_FILE_FORMAT},
        {"legacy id 279", 16, bytes_of(279), BIX_ERROR_BAD_FILE_FORMAT},
        {"MT19937 with 8 bytes of state", 16, bytes_of(BIX_BRNG_MT19937),
         BIX_ERROR_BAD_FILE_FORMAT},
        {"version 0", 0, bytes_of(0), BIX_ERROR_OK},
        {"reserved byte set", 7, "\xFF", BIX_ERROR_OK},
        {"header size 21: the state still starts at 20", 8, bytes_of<uint16_t>(21), BIX_ERROR_OK},
        {"legacy MCG31M1", 16, bytes_of(0), BIX_ERROR_OK},
    };
    TempDir dir;
    for (const Case &c : cases) {
        std::string image = good;
        image.replace(c.offset, c.bytes.size(), c.bytes);
        write_file(dir / "image", image);
        Loaded f = load_file(dir / "image");
        Loaded m = load_memory(image);
        EXPECT_EQ(f.status, c.from_file) << c.what;
        EXPECT_EQ(m.status, c.from_file == 0 ? 0 : BIX_ERROR_BAD_MEM_FORMAT) << c.what;
        if (c.from_file != 0) {
            EXPECT_FALSE(f.stream || m.stream) << c.what << ": refused before the stream is made";
            continue;
        }
        EXPECT_EQ(draw_ints(f.stream.get(), 4), next) << c.what;
        EXPECT_EQ(draw_ints(m.stream.get(), 4), next) << c.what;
    }

    // A non-deterministic stream loads only where the processor has the instruction.
    Loaded m = load_memory(std::string(good).replace(16, 4, bytes_of(BIX_BRNG_NONDETERM)));
    EXPECT_EQ(m.status,
              korb::rng::has_hardware_rng() ? BIX_ERROR_OK : BIX_ERROR_NONDETERM_NOT_SUPPORTED);
    EXPECT_TRUE(m.stream);
}

TEST(SavedImages, DamagedFilesAreShortReadsAndLeakNothing) {
    Stream s = with_two_chunks(5, 42);
    const std::string image = image_of(s.get());
    const long live = korb_serv_live_blocks();
    TempDir dir;
    const std::string path = dir / "cut";
    for (size_t n = 0; n < image.size(); ++n) {
        write_file(path, image.substr(0, n));
        Loaded f = load_file(path);
        EXPECT_EQ(f.status, BIX_ERROR_FILE_READ) << n << " bytes";
        EXPECT_EQ(static_cast<bool>(f.stream), n >= 20) << n << " bytes";
        f.stream.reset();
        ASSERT_EQ(korb_serv_live_blocks(), live) << n << " bytes";
    }

    // A chunk size far beyond the file is a short read, not a request for 4 GiB.
    write_file(path, std::string(image).replace(28 + 20, 4, bytes_of(0xFFFFFFF0u)));
    EXPECT_EQ(load_file(path).status, BIX_ERROR_FILE_READ);

    // Bytes after the image are not read.
    write_file(path, image + std::string(100, 'z'));
    Loaded f = load_file(path);
    ASSERT_EQ(f.status, BIX_ERROR_OK);
    EXPECT_EQ(__bixGetStreamSize(f.stream.get()), static_cast<int>(image.size()));

    // A directory opens for reading but has no bytes.
    EXPECT_EQ(load_file(dir / ".").status, BIX_ERROR_FILE_READ);
}

// Chunks of one image that name one id share a block when their sizes agree; a chunk whose size
// differs keeps its own bytes as a private chunk, whether the id's block came from this image or
// from a stream loaded before.
TEST(SavedImages, ChunksNamingAnIdWithAnotherSizeStayPrivate) {
    Stream s = make_stream(BIX_BRNG_MCG31M1, 5);
    std::string same = image_of(s.get());
    std::string differ = same;
    append_chunk(same, 1, 9, 9, "abcd");
    append_chunk(same, 2, 9, 9, "abcd");
    append_chunk(differ, 1, 9, 9, "a");
    append_chunk(differ, 2, 9, 9, "abcdefgh");

    for (bool held : {false, true}) {
        Loaded ok{};
        if (held) {
            ok = load_memory(same);
            ASSERT_EQ(ok.status, BIX_ERROR_OK);
            EXPECT_EQ(__bixSearchChunk(ok.stream.get(), 1), __bixSearchChunk(ok.stream.get(), 2));
        }
        Loaded d = load_memory(differ);
        ASSERT_EQ(d.status, BIX_ERROR_OK) << held;
        EXPECT_EQ(std::memcmp(__bixSearchChunk(d.stream.get(), 1), "a", 1), 0);
        EXPECT_EQ(std::memcmp(__bixSearchChunk(d.stream.get(), 2), "abcdefgh", 8), 0);
        EXPECT_EQ(__bixGetStreamSize(d.stream.get()), static_cast<int>(differ.size()));
        TempDir dir;
        write_file(dir / "differ", differ);
        EXPECT_EQ(load_file(dir / "differ").status, BIX_ERROR_OK);
    }
    EXPECT_EQ(korb::rng::shared_table_count(), 0);
}

TEST(SavedImages, NameLengthCutsTheName) {
    TempDir dir;
    Stream s = make_stream(BIX_BRNG_MCG31M1, 3);
    const std::string name = dir / "abc.bin";
    const int cut = static_cast<int>(name.size()) - 2;  // ".../abc.b"
    ASSERT_EQ(__bixSaveStreamF(s.get(), name.c_str(), cut), BIX_ERROR_OK);
    EXPECT_TRUE(std::filesystem::exists(dir / "abc.b"));
    EXPECT_EQ(load_file(name, cut).status, BIX_ERROR_OK);
    EXPECT_EQ(load_file(name).status, BIX_ERROR_FILE_OPEN);
    // A length past the terminator stops at it.
    ASSERT_EQ(__bixSaveStreamF(s.get(), name.c_str(), 1000), BIX_ERROR_OK);
    EXPECT_EQ(load_file(name).status, BIX_ERROR_OK);
}

TEST(SavedImages, FileErrors) {
    Stream s = make_stream(BIX_BRNG_MCG31M1, 3);
    EXPECT_EQ(__bixSaveStreamF(s.get(), "/nonexistent-korb-dir/s.bin", -1), BIX_ERROR_FILE_OPEN);
    EXPECT_EQ(load_file("/nonexistent-korb-dir/s.bin").status, BIX_ERROR_FILE_OPEN);
    if (!std::filesystem::exists("/dev/full")) GTEST_SKIP() << "no /dev/full";
    // A small image fits the file's buffer and fails when it is flushed on closing; a large
    // chunk is written past the buffer and fails on its write.
    EXPECT_EQ(__bixSaveStreamF(s.get(), "/dev/full", -1), BIX_ERROR_FILE_CLOSE);
    ASSERT_EQ(__bixAddChunk(s.get(), 1, nullptr, block_of(std::string(1 << 20, 'x')), 1 << 20),
              BIX_ERROR_OK);
    EXPECT_EQ(__bixSaveStreamF(s.get(), "/dev/full", -1), BIX_ERROR_FILE_WRITE);
}

TEST(SavedImages, AllocationFailuresLeakNothing) {
    Stream s = with_two_chunks(8, 0xC0FFEE);
    const std::string image = image_of(s.get());
    TempDir dir;
    const std::string name = dir / "image";
    korb::test::sweep_allocation_failures(
        [&] { return __bixSaveStreamF(s.get(), name.c_str(), static_cast<int>(name.size())); });
    // Loading while `s` holds the shared block: the loaded copy of it is freed at once.
    korb::test::sweep_allocation_failures([&] { return load_file(name).status; });
    korb::test::sweep_allocation_failures([&] { return load_memory(image).status; });
    // Without `s`, the first load brings the block into the table again.
    s.reset();
    EXPECT_EQ(korb::rng::shared_table_count(), 0);
    korb::test::sweep_allocation_failures([&] { return load_file(name).status; });
    EXPECT_EQ(korb::rng::shared_table_count(), 0);
}

}  // namespace
