// Saving streams as images and loading them back, through a file or a caller's buffer.
//
// An image is the 20-byte header below, the generator state as the stream holds it after its
// own 16-byte header, and then each chunk from the head of the list: key, globalId, size and
// data. One writer and one reader serve both forms; they differ in where the bytes go or come
// from and in the codes a bad image gets (BIX_ERROR_BAD_FILE_FORMAT and
// BIX_ERROR_UNSUPPORTED_FILE_VER from a file, BIX_ERROR_BAD_MEM_FORMAT for both from memory).
//
// A file is read with what it holds as the bound: a chunk whose declared size runs past the end
// of a regular file is a short read before anything is allocated for it, so a damaged size
// cannot make the loader ask for gigabytes. A memory image has no such bound; the caller's
// buffer must hold the whole image its header describes.
#include <sys/stat.h>

#include <bit>
#include <cstdio>
#include <cstring>

#include "korb/kernel/frame.h"
#include "korb/kernel/rng.h"
#include "rng/generators.h"
#include "stream.h"

namespace korb::rng {
namespace {

static_assert(std::endian::native == std::endian::little,
              "images are little-endian and are copied as the host holds them");

constexpr uint32_t kImageVersion = 1;
constexpr unsigned char kMark[3] = {'R', 'N', 'G'};
constexpr uint16_t kImageHeaderBytes = 20;
constexpr size_t kChunkHeadBytes = 24;  // key, globalId, size
constexpr size_t kNameAlign = 64;
constexpr size_t kChunkDataAlign = 64;

// The image header as it lies at the start of an image.
struct ImageHeader {
    uint32_t version;
    unsigned char mark[3];
    unsigned char reserved;
    uint16_t headerSize;
    uint16_t stateLength;
    uint32_t numChunks;
    int32_t brng;
};
static_assert(sizeof(ImageHeader) == kImageHeaderBytes && offsetof(ImageHeader, mark) == 4 &&
              offsetof(ImageHeader, reserved) == 7 && offsetof(ImageHeader, headerSize) == 8 &&
              offsetof(ImageHeader, stateLength) == 10 && offsetof(ImageHeader, numChunks) == 12 &&
              offsetof(ImageHeader, brng) == 16);

// The fields that precede a chunk's data; globalId is not 8-byte aligned there, so the record
// is packed and unpacked field by field.
struct ChunkHead {
    uint32_t key;
    uint64_t globalId[2];
    uint32_t size;
};

void pack(const ChunkHead &h, unsigned char (&out)[kChunkHeadBytes]) {
    std::memcpy(out, &h.key, 4);
    std::memcpy(out + 4, h.globalId, 16);
    std::memcpy(out + 20, &h.size, 4);
}

ChunkHead unpack(const unsigned char (&in)[kChunkHeadBytes]) {
    ChunkHead h;
    std::memcpy(&h.key, in, 4);
    std::memcpy(h.globalId, in + 4, 16);
    std::memcpy(&h.size, in + 20, 4);
    return h;
}

const unsigned char *state_bytes(const BixStream *stream) {
    return state_of<unsigned char>(const_cast<BixStream *>(stream));
}

// Writes the image of `stream` (whose row is `row`) to `sink`. A failure of the header or the
// state stops at once with *early set; a failure in the chunks stops there too.
template <class Sink>
int write_image(const BixStream *stream, const BrngProperties &row, Sink &sink, bool *early) {
    ImageHeader h{};
    h.version = kImageVersion;
    std::memcpy(h.mark, kMark, sizeof kMark);
    h.headerSize = kImageHeaderBytes;
    h.stateLength = static_cast<uint16_t>(row.stateSize - kStreamHeaderBytes);
    h.numChunks = static_cast<uint32_t>(__bixGetNumChunks(stream));
    h.brng = stream->brng;
    *early = true;
    if (!sink.put(&h, sizeof h) || !sink.put(state_bytes(stream), h.stateLength)) {
        return BIX_ERROR_FILE_WRITE;
    }
    *early = false;
    for (const BixChunk *c = stream->chunks; c != nullptr; c = c->next) {
        unsigned char head[kChunkHeadBytes];
        pack(ChunkHead{c->key, {c->globalId[0], c->globalId[1]}, c->size}, head);
        if (!sink.put(head, sizeof head) || !sink.put(c->data, c->size)) {
            return BIX_ERROR_FILE_WRITE;
        }
    }
    return BIX_ERROR_OK;
}

// The codes a refused image gets from each form.
struct Refusals {
    int format;
    int version;
};
constexpr Refusals kFileRefusals = {BIX_ERROR_BAD_FILE_FORMAT, BIX_ERROR_UNSUPPORTED_FILE_VER};
constexpr Refusals kMemoryRefusals = {BIX_ERROR_BAD_MEM_FORMAT, BIX_ERROR_BAD_MEM_FORMAT};

// Reads one chunk and attaches it; the data block goes to the chunk (or is freed by
// __bixAddChunk when the shared table keeps its own), or is freed here on failure. A chunk whose
// id the table holds with a block of another size (another stream's, or an earlier chunk of this
// image) keeps its own block as a private chunk.
template <class Source>
int read_chunk(BixStream *stream, Source &source) {
    unsigned char packed[kChunkHeadBytes];
    if (!source.get(packed, sizeof packed)) return BIX_ERROR_FILE_READ;
    const ChunkHead h = unpack(packed);
    if (!source.holds(h.size)) return BIX_ERROR_FILE_READ;
    void *data = korbMalloc(h.size, kChunkDataAlign);
    if (data == nullptr) return BIX_ERROR_MEM_FAILURE;
    if (!source.get(data, h.size)) {
        korbFree(data);
        return BIX_ERROR_FILE_READ;
    }
    const int status = __bixAddChunk(stream, h.key, h.globalId, data, h.size);
    if (status != BIX_ERROR_OK) korbFree(data);
    return status;
}

// Reads an image from `source` into a new stream stored in *stream. Once the stream is made it
// stays there whatever follows.
template <class Source>
int read_image(BixStream **stream, Source &source, const Refusals &refuse) {
    ImageHeader h;
    if (!source.get(&h, sizeof h)) return BIX_ERROR_FILE_READ;
    if (std::memcmp(h.mark, kMark, sizeof kMark) != 0) return refuse.format;
    if (h.version > kImageVersion) return refuse.version;
    int row = 0;
    int member = 0;
    const BrngProperties *table = __bixGetBrngBaseOffset(h.brng, &row, &member);
    if (__bixIsBrngValid(table, row, member) != BIX_ERROR_OK) return refuse.format;
    if (h.stateLength != table[row].stateSize - kStreamHeaderBytes ||
        h.headerSize < kImageHeaderBytes) {
        return refuse.format;
    }
    BixStream *s = nullptr;
    if (int status = __bixAllocateStream(&s, table, h.brng, row, member); status != BIX_ERROR_OK) {
        return status;
    }
    *stream = s;
    if (!source.get(state_of<unsigned char>(s), h.stateLength)) return BIX_ERROR_FILE_READ;
    for (uint32_t i = 0; i < h.numChunks; ++i) {
        if (int status = read_chunk(s, source); status != BIX_ERROR_OK) return status;
    }
    // A non-deterministic stream needs the processor's random-number instruction.
    if (const GeneratorInfo *g = generator_of(h.brng);
        g != nullptr && g->kind == BrngKind::nondeterministic && !has_hardware_rng()) {
        return BIX_ERROR_NONDETERM_NOT_SUPPORTED;
    }
    return BIX_ERROR_OK;
}

struct MemorySink {
    unsigned char *at;
    bool put(const void *p, size_t n) {
        if (n != 0) std::memcpy(at, p, n);
        at += n;
        return true;
    }
};

struct MemorySource {
    const unsigned char *at;
    bool get(void *p, size_t n) {
        if (n != 0) std::memcpy(p, at, n);
        at += n;
        return true;
    }
    bool holds(size_t) const { return true; }
};

struct FileSink {
    std::FILE *file;
    bool put(const void *p, size_t n) { return n == 0 || std::fwrite(p, 1, n, file) == n; }
};

// Reads from a file, counting down what a regular file has left; other files (pipes, devices)
// have no known end and are only bounded by their reads.
class FileSource {
  public:
    explicit FileSource(std::FILE *file) : file_(file) {
        struct stat st;
        if (fstat(fileno(file), &st) == 0 && S_ISREG(st.st_mode) && st.st_size >= 0) {
            left_ = static_cast<uint64_t>(st.st_size);
            bounded_ = true;
        }
    }
    bool get(void *p, size_t n) {
        if (n == 0) return true;
        const size_t got = std::fread(p, 1, n, file_);
        left_ = got < left_ ? left_ - got : 0;
        return got == n;
    }
    bool holds(size_t n) const { return !bounded_ || n <= left_; }

  private:
    std::FILE *file_;
    uint64_t left_ = 0;
    bool bounded_ = false;
};

// An open file named by the callers' convention, closed when it goes out of scope unless
// close() was called.
class File {
  public:
    File() = default;
    File(const File &) = delete;
    File &operator=(const File &) = delete;
    ~File() {
        if (file_ != nullptr) std::fclose(file_);
    }

    // A name length of 0 or more takes that many characters, copied and terminated; a negative
    // length takes the name as a terminated string. The copy stops early at a NUL, and is only
    // as long as what it holds, so a length far past the name neither reads nor allocates more.
    int open(const char *name, int length, const char *mode) {
        if (name == nullptr) return BIX_ERROR_FILE_OPEN;
        if (length < 0) {
            file_ = std::fopen(name, mode);
        } else {
            const size_t n = strnlen(name, static_cast<size_t>(length));
            auto *copy = static_cast<char *>(korbMalloc(n + 1, kNameAlign));
            if (copy == nullptr) return BIX_ERROR_MEM_FAILURE;
            std::memcpy(copy, name, n);
            copy[n] = '\0';
            file_ = std::fopen(copy, mode);
            korbFree(copy);
        }
        return file_ != nullptr ? BIX_ERROR_OK : BIX_ERROR_FILE_OPEN;
    }

    std::FILE *get() const { return file_; }

    // Closes the file; a failing close replaces `status` with BIX_ERROR_FILE_CLOSE.
    int close(int status) {
        const int closed = std::fclose(file_);
        file_ = nullptr;
        return closed == 0 ? status : BIX_ERROR_FILE_CLOSE;
    }

  private:
    std::FILE *file_ = nullptr;
};

// The row of a stream about to be saved, or the reason it cannot be: an id that names no row,
// or a state too long for the image's 16-bit length (only a registered generator can have one).
int row_for_saving(const BixStream *stream, const BrngProperties **row) {
    if (stream == nullptr) return BIX_ERROR_NULL_PTR;
    *row = find_row(stream->brng);
    if (*row == nullptr) return BIX_ERROR_INVALID_BRNG;
    if ((*row)->stateSize - kStreamHeaderBytes > UINT16_MAX) return BIX_ERROR_BAD_STREAM_STATE_SIZE;
    return BIX_ERROR_OK;
}

}  // namespace
}  // namespace korb::rng

using namespace korb::rng;

extern "C" {

int __bixSaveStreamF(const BixStream *stream, const char *fname, int fnamelen) {
    const BrngProperties *row = nullptr;
    if (int status = row_for_saving(stream, &row); status != BIX_ERROR_OK) return status;
    File file;
    if (int status = file.open(fname, fnamelen, "wb"); status != BIX_ERROR_OK) return status;
    FileSink sink{file.get()};
    bool early = false;
    const int status = write_image(stream, *row, sink, &early);
    // A failed header or state write is reported as such whatever the close says.
    if (early) return status;
    return file.close(status);
}

int __bixLoadStreamF(BixStream **stream, const char *fname, int fnamelen) {
    if (stream == nullptr) return BIX_ERROR_NULL_PTR;
    File file;
    if (int status = file.open(fname, fnamelen, "rb"); status != BIX_ERROR_OK) return status;
    FileSource source(file.get());
    return file.close(read_image(stream, source, kFileRefusals));
}

int __bixSaveStreamM(const BixStream *stream, char *memptr) {
    const BrngProperties *row = nullptr;
    if (int status = row_for_saving(stream, &row); status != BIX_ERROR_OK) return status;
    if (memptr == nullptr) return BIX_ERROR_NULL_PTR;
    MemorySink sink{reinterpret_cast<unsigned char *>(memptr)};
    bool early = false;
    return write_image(stream, *row, sink, &early);
}

int __bixLoadStreamM(BixStream **stream, const char *memptr) {
    if (stream == nullptr || memptr == nullptr) return BIX_ERROR_NULL_PTR;
    MemorySource source{reinterpret_cast<const unsigned char *>(memptr)};
    return read_image(stream, source, kMemoryRefusals);
}

}  // extern "C"
