// Chunks attached to streams, and the process-wide shared read-only data table.
//
// The table holds at most 128 reference-counted blocks, packed in entries 0 to count-1. One spin
// lock guards every search, append, increment, decrement and removal; it is never held across
// two table operations or across a call into a generator. The entry count is also read without
// the lock where a stale value is harmless (the "fewer than 127" test before an append, which
// re-checks against 128 under the lock).
//
// Each entry also remembers the size of its block, set by the chunk that brought it; an entry
// made by __bixCreateGlobRODataTableEntry (which is told no size) takes the size of the first
// chunk that refers to it, and its maker vouches for that one. A chunk refers to a shared block only when the
// block is known to have exactly the chunk's size; otherwise the chunk stays private with its
// own data and its globalId cleared, so that a stream naming an id with another size (a stray
// image, a caller's mistake) can never make a later save or copy read past the shared block.
// Finding an id and appending it when absent is one step under the lock, so that two threads
// bringing the same new id concurrently end with one entry, not two.
#include <x86intrin.h>

#include <atomic>
#include <cstring>

#include "korb/kernel/frame.h"
#include "korb/kernel/rng.h"
#include "stream.h"

namespace korb::rng {
namespace {

constexpr int kTableCapacity = 128;
// Chunks stop bringing new entries at this count, leaving room for direct creations.
constexpr int kChunkEntryLimit = 127;
constexpr size_t kChunkAlign = 64;

BixGlobRODataEntry g_entries[kTableCapacity];
// The size of each entry's block, kept beside the exported record whose layout is fixed.
constexpr uint64_t kUnknownSize = UINT64_MAX;
uint64_t g_sizes[kTableCapacity];
std::atomic<int32_t> g_count{0};
std::atomic<uint32_t> g_lock{0};

class TableLock {
  public:
    TableLock() {
        uint32_t expected = 0;
        while (!g_lock.compare_exchange_weak(expected, 1, std::memory_order_acquire,
                                             std::memory_order_relaxed)) {
            expected = 0;
        }
    }
    ~TableLock() { g_lock.store(0, std::memory_order_release); }
    TableLock(const TableLock &) = delete;
    TableLock &operator=(const TableLock &) = delete;
};

bool is_zero_id(const uint64_t *id) {
    return id[0] == 0 && id[1] == 0;
}

// Index of the entry with this id, or -1. Caller holds the lock.
int find_locked(const uint64_t *id) {
    const int count = g_count.load(std::memory_order_relaxed);
    for (int i = 0; i < count; ++i) {
        if (g_entries[i].id[0] == id[0] && g_entries[i].id[1] == id[1]) return i;
    }
    return -1;
}

// Appends {id, 1, data} when there is room. Caller holds the lock.
BixGlobRODataEntry *append_locked(const uint64_t *id, void *data, uint64_t size) {
    const int count = g_count.load(std::memory_order_relaxed);
    if (count >= kTableCapacity) return nullptr;
    BixGlobRODataEntry &e = g_entries[count];
    e.id[0] = id[0];
    e.id[1] = id[1];
    e.refCount = 1;
    e.data = data;
    g_sizes[count] = size;
    g_count.store(count + 1, std::memory_order_relaxed);
    return &e;
}

// What a chunk of `size` bytes found for its id.
enum class Lookup { absent, shared, mismatch };

// Takes one more reference to the entry with this id when its block has `size` bytes; *data is
// then the block. An entry of unknown size takes `size` as its own.
Lookup acquire_shared(const uint64_t *id, uint64_t size, void **data) {
    TableLock lock;
    const int i = find_locked(id);
    if (i < 0) return Lookup::absent;
    if (g_sizes[i] == kUnknownSize) g_sizes[i] = size;
    if (g_sizes[i] != size) return Lookup::mismatch;
    ++g_entries[i].refCount;
    *data = g_entries[i].data;
    return Lookup::shared;
}

// Drops one reference; the last one frees the block and moves the last entry into the slot.
// Returns false when no entry has this id.
bool release_shared(const uint64_t *id) {
    void *to_free = nullptr;
    {
        TableLock lock;
        const int i = find_locked(id);
        if (i < 0) return false;
        if (--g_entries[i].refCount == 0) {
            to_free = g_entries[i].data;
            const int last = g_count.load(std::memory_order_relaxed) - 1;
            g_entries[i] = g_entries[last];
            g_sizes[i] = g_sizes[last];
            g_entries[last] = BixGlobRODataEntry{};
            g_count.store(last, std::memory_order_relaxed);
        }
    }
    if (to_free != nullptr) korbFree(to_free);
    return true;
}

bool table_has_room_for_chunk() {
    return g_count.load(std::memory_order_relaxed) < kChunkEntryLimit;
}

// Attaches `chunk` (its own data in hand) to the entry `id`: shares the entry's block when the
// table holds it with the chunk's size (freeing the chunk's data, which is then not needed),
// appends {id, 1, the chunk's data} when the id is absent and the table can take a chunk's
// entry, and otherwise leaves the chunk private with its globalId cleared.
void attach(BixChunk *chunk, const uint64_t *id) {
    void *to_free = nullptr;
    bool shared = false;
    {
        TableLock lock;
        const int i = find_locked(id);
        if (i >= 0) {
            if (g_sizes[i] == kUnknownSize) g_sizes[i] = chunk->size;
            if (g_sizes[i] == chunk->size) {
                ++g_entries[i].refCount;
                if (chunk->data != g_entries[i].data) to_free = chunk->data;
                chunk->data = g_entries[i].data;
                shared = true;
            }
        } else if (table_has_room_for_chunk()) {
            shared = append_locked(id, chunk->data, chunk->size) != nullptr;
        }
    }
    if (to_free != nullptr) korbFree(to_free);
    if (shared) {
        chunk->globalId[0] = id[0];
        chunk->globalId[1] = id[1];
    } else {
        chunk->globalId[0] = chunk->globalId[1] = 0;
    }
}

void release_chunk(BixChunk *c) {
    const bool shared = !is_zero_id(c->globalId) && release_shared(c->globalId);
    if (!shared && c->data != nullptr) korbFree(c->data);
    korbFree(c);
}

BixChunk *new_chunk(uint32_t key, uint32_t size, void *data) {
    auto *c = static_cast<BixChunk *>(korbMalloc(sizeof(BixChunk), kChunkAlign));
    if (c == nullptr) return nullptr;
    *c = BixChunk{key, size, data, nullptr, {0, 0}};
    return c;
}

// Copies one chunk for another stream: shares the source's entry when the table still holds
// it, otherwise duplicates the data (and shares the duplicate when the chunk had an id).
BixChunk *copy_chunk(const BixChunk *src) {
    const bool has_id = !is_zero_id(src->globalId);
    void *shared = nullptr;
    if (has_id && acquire_shared(src->globalId, src->size, &shared) == Lookup::shared) {
        BixChunk *c = new_chunk(src->key, src->size, shared);
        if (c == nullptr) {
            release_shared(src->globalId);
            return nullptr;
        }
        c->globalId[0] = src->globalId[0];
        c->globalId[1] = src->globalId[1];
        return c;
    }
    void *data = korbMalloc(src->size, kChunkAlign);
    if (data == nullptr) return nullptr;
    if (src->size != 0) std::memcpy(data, src->data, src->size);
    BixChunk *c = new_chunk(src->key, src->size, data);
    if (c == nullptr) {
        korbFree(data);
        return nullptr;
    }
    if (has_id) attach(c, src->globalId);
    return c;
}

}  // namespace

int shared_table_count() {
    return g_count.load(std::memory_order_relaxed);
}

}  // namespace korb::rng

using namespace korb::rng;

extern "C" {

int __bixAddChunk(BixStream *stream, uint32_t key, const uint64_t id[2], void *data,
                  uint32_t size) {
    BixChunk *c = new_chunk(key, size, data);
    if (c == nullptr) return BIX_ERROR_MEM_FAILURE;
    // When the table already holds this block, the caller's copy is not kept.
    if (id != nullptr && !is_zero_id(id)) attach(c, id);
    c->next = stream->chunks;
    stream->chunks = c;
    return BIX_ERROR_OK;
}

void *__bixSearchChunk(const BixStream *stream, uint32_t key) {
    for (const BixChunk *c = stream->chunks; c != nullptr; c = c->next) {
        if (c->key == key) return c->data;
    }
    return nullptr;
}

int __bixGetNumChunks(const BixStream *stream) {
    int n = 0;
    for (const BixChunk *c = stream->chunks; c != nullptr; c = c->next) ++n;
    return n;
}

void __bixDeleteChunks(BixStream *stream) {
    BixChunk *c = stream->chunks;
    stream->chunks = nullptr;
    while (c != nullptr) {
        BixChunk *next = c->next;
        release_chunk(c);
        c = next;
    }
}

int __bixCopyChunks(BixStream *destination, const BixStream *source) {
    for (const BixChunk *s = source->chunks; s != nullptr; s = s->next) {
        BixChunk *c = copy_chunk(s);
        if (c == nullptr) {
            __bixDeleteChunks(destination);
            return BIX_ERROR_MEM_FAILURE;
        }
        c->next = destination->chunks;
        destination->chunks = c;
    }
    return BIX_ERROR_OK;
}

int __bixFindGlobRODataTableEntry(BixGlobRODataEntry **entry, const uint64_t id[2]) {
    if (id == nullptr || is_zero_id(id)) return BIX_ERROR_GLOBAL_DATA_NOT_FOUND;
    if (entry == nullptr) return BIX_ERROR_NULL_PTR;
    TableLock lock;
    const int i = find_locked(id);
    if (i < 0) return BIX_ERROR_GLOBAL_DATA_NOT_FOUND;
    *entry = &g_entries[i];
    return BIX_ERROR_OK;
}

int __bixCreateGlobRODataTableEntry(BixGlobRODataEntry **entry, const uint64_t id[2], void *data) {
    // An entry's id is never (0, 0): that id marks a private chunk.
    if (id == nullptr || is_zero_id(id)) return BIX_ERROR_GLOBAL_DATA_NOT_FOUND;
    if (entry == nullptr) return BIX_ERROR_NULL_PTR;
    TableLock lock;
    BixGlobRODataEntry *e = append_locked(id, data, kUnknownSize);
    if (e == nullptr) return BIX_ERROR_GLOBAL_DATA_TABLE_FULL;
    *entry = e;
    return BIX_ERROR_OK;
}

void __bixRegisterGlobRODataReference(BixChunk *chunk, const uint64_t id[2]) {
    if (chunk == nullptr || id == nullptr || is_zero_id(id)) return;
    // A block of another size is not taken: the chunk is left as it was.
    void *shared = nullptr;
    if (acquire_shared(id, chunk->size, &shared) != Lookup::shared) return;
    chunk->data = shared;
    chunk->globalId[0] = id[0];
    chunk->globalId[1] = id[1];
}

void __bixUnregisterGlobRODataReference(const uint64_t id[2]) {
    if (id == nullptr || is_zero_id(id)) return;
    release_shared(id);
}

int __bixGenerateNewGlobalRODataTableEntryId(uint64_t id[2], uintptr_t tag) {
    id[0] = __rdtsc();
    id[1] = tag;
    if (is_zero_id(id)) return BIX_ERROR_OK;
    for (;;) {
        {
            TableLock lock;
            if (find_locked(id) < 0) return BIX_ERROR_OK;
        }
        id[0] = __rdtsc();
    }
}

}  // extern "C"
