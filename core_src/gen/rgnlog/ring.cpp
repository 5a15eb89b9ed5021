/* The ring; see ring_private.h. */

#include "gen/rgnlog/ring_private.h"

#include <string.h>

#include <algorithm>

static constexpr uint32_t prevWord = offsetof(GenRingHead, prev);
static constexpr uint32_t sizeWord = offsetof(GenRingHead, size);
static constexpr uint32_t bodyStart = offsetof(GenRingHead, time);

static uint32_t& wordAt(const GenRing& ring, uint32_t record, uint32_t word) {
    return *reinterpret_cast<uint32_t*>(ring.area + record + word);
}

/* Once: another process may change a word between its check and its use. */
static uint32_t get(const uint32_t& word) {
    return __atomic_load_n(&word, __ATOMIC_RELAXED);
}

static uint32_t get(const GenRing& ring, uint32_t record, uint32_t word) {
    return get(wordAt(ring, record, word));
}

/* Behind all that was written before, and ahead of what is written next: what a killed writer
 * leaves has its order from this. */
static void put(uint32_t& word, uint32_t value) {
    __atomic_signal_fence(__ATOMIC_SEQ_CST);
    __atomic_store_n(&word, value, __ATOMIC_RELAXED);
    __atomic_signal_fence(__ATOMIC_SEQ_CST);
}

static void put(const GenRing& ring, uint32_t record, uint32_t word, uint32_t value) {
    put(wordAt(ring, record, word), value);
}

static uint32_t ahead(const GenRing& ring, uint32_t at, uint32_t distance) {
    const uint32_t sum = at + distance;
    return sum >= ring.size ? sum - ring.size : sum;
}

static uint32_t behind(const GenRing& ring, uint32_t at, uint32_t distance) {
    return at >= distance ? at - distance : at + ring.size - distance;
}

/* Whether a record that is that large can be in the ring. */
static bool isSize(const GenRing& ring, uint32_t size) {
    return size >= genRingGrain && size <= ring.size && size % genRingGrain == 0;
}

static bool isPosition(const GenRing& ring, uint32_t at) {
    return at < ring.size && at % genRingGrain == 0;
}

/* Copies out of the area, from a place inside a record; bytes beyond the record read as 0. */
static void copyOut(const GenRing& ring, uint32_t record, uint32_t recordSize, uint32_t offset,
                    void* to, uint32_t length) {
    memset(to, 0, length);
    if (offset >= recordSize) return;
    length = std::min(length, recordSize - offset);
    const uint32_t at = ahead(ring, record, offset);
    const uint32_t upToEnd = std::min(length, ring.size - at);
    memcpy(to, ring.area + at, upToEnd);
    memcpy(static_cast<uint8_t*>(to) + upToEnd, ring.area, length - upToEnd);
}

/* Fills the body of a record, around the end of the area, and never more than the record has. */
class BodyWriter {
  public:
    BodyWriter(const GenRing& ring, uint32_t record, uint32_t recordSize)
        : ring_(ring), at_(ahead(ring, record, bodyStart)), left_(recordSize - bodyStart) {}

    void add(const void* bytes, uint32_t length) {
        length = std::min(length, left_);
        const uint32_t upToEnd = std::min(length, ring_.size - at_);
        memcpy(ring_.area + at_, bytes, upToEnd);
        if (upToEnd < length)
            memcpy(ring_.area, static_cast<const uint8_t*>(bytes) + upToEnd, length - upToEnd);
        at_ = ahead(ring_, at_, length);
        left_ -= length;
    }

  private:
    const GenRing& ring_;
    uint32_t at_;
    uint32_t left_;
};

/* The records that a new one takes the place of. */
struct Span {
    uint32_t at;
    uint32_t size;
    uint32_t next; /* the record behind it */
};

/* The ring with nothing in it, as one free record. */
static void empty(const GenRing& ring) {
    RgnLogHeader& header = *ring.header;
    put(header.full, 0);
    put(header.cur, 0);
    put(header.size, ring.size);
    put(ring, 0, prevWord, ring.size);
    put(ring, 0, sizeWord, ring.size);
}

void genRingInit(const GenRing& ring, int32_t maxEntry) {
    ring.header->run = 0;
    ring.header->maxEntry = maxEntry;
    empty(ring);
}

/* Gathers records from the one at cur on; false when the ring is damaged. */
static bool absorb(const GenRing& ring, uint32_t need, Span& span) {
    const RgnLogHeader& header = *ring.header;
    span.at = get(header.cur);
    if (header.size != ring.size || !isPosition(ring, span.at)) return false;
    span.size = get(ring, span.at, sizeWord);
    if (!isSize(ring, span.size)) return false;
    span.next = ahead(ring, span.at, span.size);
    while (span.size < need) {
        const uint32_t more = get(ring, span.next, sizeWord);
        if (!isSize(ring, more) || more > ring.size - span.size) return false;
        span.size += more;
        span.next = ahead(ring, span.next, more);
    }
    return true;
}

/* Turns the span into one free record. */
static void clear(const GenRing& ring, const Span& span) {
    put(ring.header->full, 0);
    put(ring, span.at, sizeWord, span.size);
    put(ring, span.next, prevWord, span.size);
}

static void fillAround(const GenRing& ring, const Span& span, const GenRecord& record,
                       uint32_t length) {
    BodyWriter body(ring, span.at, span.size);
    body.add(record.time, sizeof *record.time);
    body.add(&length, sizeof length);
    for (uint32_t i = 0; i < record.count && length > 0; ++i) {
        const uint32_t part = std::min(record.pieces[i].length, length);
        if (part > 0) body.add(record.pieces[i].address, part);
        length -= part;
    }
}

static void fill(const GenRing& ring, const Span& span, const GenRecord& record, uint32_t length) {
    if (length + sizeof(GenRingHead) > ring.size - span.at) {
        fillAround(ring, span, record, length);
        return;
    }
    /* Most records lie in one piece. */
    uint8_t* at = ring.area + span.at;
    memcpy(at + offsetof(GenRingHead, time), record.time, sizeof *record.time);
    memcpy(at + offsetof(GenRingHead, length), &length, sizeof length);
    at += sizeof(GenRingHead);
    for (const RgnLogPiece* piece = record.pieces; length > 0; ++piece) {
        const uint32_t part = std::min(piece->length, length);
        if (part > 0) memcpy(at, piece->address, part);
        at += part;
        length -= part;
    }
}

/* Makes the filled record count; what it does not need becomes the free record. One that fits to
 * the byte counts as the oldest for a moment: that loses none of the others. */
static void commit(const GenRing& ring, const Span& span, uint32_t need) {
    if (need >= span.size) {
        put(ring.header->full, 1);
        put(ring.header->cur, span.next);
        return;
    }
    const uint32_t rest = ahead(ring, span.at, need);
    put(ring, rest, sizeWord, span.size - need);
    put(ring, rest, prevWord, need);
    put(ring, span.next, prevWord, span.size - need);
    put(ring.header->cur, rest);
    put(ring, span.at, sizeWord, need);
}

void genRingWrite(const GenRing& ring, const GenRecord& record) {
    const int32_t limit = ring.header->maxEntry;
    auto length = static_cast<uint32_t>(std::min<uint64_t>(record.length, ring.size));
    if (limit > 0) length = std::min(length, static_cast<uint32_t>(limit));
    const uint32_t wanted =
        (length + sizeof(GenRingHead) + genRingGrain - 1) / genRingGrain * genRingGrain;
    const bool fits = wanted <= ring.size;
    const uint32_t need = std::min(wanted, ring.size);
    Span span;
    if (!absorb(ring, need, span)) {
        empty(ring);
        span = {0, ring.size, 0};
    }
    if (!fits)
        length = ring.size > sizeof(GenRingHead) ? ring.size - uint32_t{sizeof(GenRingHead)} : 0;
    clear(ring, span);
    fill(ring, span, record, length);
    commit(ring, span, need);
}

/* Follows the sizes once around, and sets the words that look back by them. */
static bool relink(const GenRing& ring, uint32_t at) {
    uint32_t left = ring.size;
    while (left > 0) {
        const uint32_t size = get(ring, at, sizeWord);
        if (!isSize(ring, size) || size > left) return false;
        at = ahead(ring, at, size);
        put(ring, at, prevWord, size);
        left -= size;
    }
    return true;
}

/* A writer moves cur before it shortens the record that it has written: the free record knows how
 * long that is. */
void genRingMend(const GenRing& ring) {
    const RgnLogHeader& header = *ring.header;
    const uint32_t cur = get(header.cur);
    const uint32_t full = get(header.full);
    bool isSound = get(header.size) == ring.size && full <= 1 && isPosition(ring, cur);
    if (isSound && full == 0) {
        const uint32_t newest = get(ring, cur, prevWord);
        const uint32_t rest = get(ring, cur, sizeWord);
        isSound = isSize(ring, newest) && isSize(ring, rest);
        const uint32_t at = isSound ? behind(ring, cur, newest) : 0;
        if (isSound && get(ring, at, sizeWord) == newest + rest) put(ring, at, sizeWord, newest);
    }
    if (!isSound || !relink(ring, cur)) empty(ring);
}

uint32_t genRingRead(const GenRing& ring, uint8_t* buffer, uint32_t bufferBytes,
                     uint32_t& position) {
    if (bufferBytes < sizeof(uint32_t)) return 0;
    const uint32_t cur = get(ring.header->cur);
    const bool isFull = get(ring.header->full) != 0;
    if (!isPosition(ring, cur)) return ZAT_GEN_LOG_END;
    const bool fromOldest = position == ZAT_GEN_OLDEST;
    uint32_t at = fromOldest ? cur : position;
    if (fromOldest && !isFull) {
        const uint32_t size = get(ring, cur, sizeWord);
        at = isSize(ring, size) ? ahead(ring, cur, size) : cur;
    }
    const bool isNothingLeft = at == cur && !(fromOldest && isFull);
    if (isNothingLeft || at >= ring.size) {
        if (fromOldest) position = cur;
        return ZAT_GEN_LOG_END;
    }
    const uint32_t end = at < cur ? cur : ring.size;
    const uint32_t length = std::min(bufferBytes, end - at);
    memcpy(buffer, ring.area + at, length);
    if (fromOldest && !isFull) memcpy(buffer, &wordAt(ring, cur, prevWord), sizeof(uint32_t));
    position = at + length == ring.size ? 0 : at + length;
    return length;
}

GenRingWalk::GenRingWalk(const GenRing& ring, GenRingOrder order) : ring_(ring), order_(order) {
    const RgnLogHeader& header = *ring.header;
    if (header.size != ring.size || !isPosition(ring, header.cur)) return;
    const uint32_t size = get(ring, header.cur, sizeWord);
    const uint32_t newest = get(ring, header.cur, prevWord);
    if (!isSize(ring, size) || !isSize(ring, newest)) return;
    const bool isFull = header.full != 0;
    left_ = isFull ? ring.size : ring.size - size;
    expected_ = newest;
    if (order == GenRingOrder::NewestFirst)
        at_ = behind(ring, header.cur, newest);
    else
        at_ = isFull ? header.cur : ahead(ring, header.cur, size);
}

bool GenRingWalk::next(GenRingEntry& entry) {
    if (left_ == 0) return false;
    const uint32_t size = get(ring_, at_, sizeWord);
    const bool isBack = order_ == GenRingOrder::NewestFirst;
    if (!isSize(ring_, size) || size > left_ || (isBack && size != expected_)) {
        left_ = 0;
        return false;
    }
    left_ -= size;
    view(size, entry);
    if (!isBack) {
        at_ = ahead(ring_, at_, size);
        return true;
    }
    expected_ = get(ring_, at_, prevWord);
    if (isSize(ring_, expected_))
        at_ = behind(ring_, at_, expected_);
    else
        left_ = 0;
    return true;
}

void GenRingWalk::view(uint32_t size, GenRingEntry& entry) const {
    uint32_t length = 0;
    copyOut(ring_, at_, size, offsetof(GenRingHead, time), &entry.time, sizeof entry.time);
    copyOut(ring_, at_, size, offsetof(GenRingHead, length), &length, sizeof length);
    const uint32_t room = size > sizeof(GenRingHead) ? size - sizeof(GenRingHead) : 0;
    length = std::min(length, room);
    const uint32_t payload = ahead(ring_, at_, std::min<uint32_t>(size, sizeof(GenRingHead)));
    entry.first = ring_.area + payload;
    entry.firstLength = std::min(length, ring_.size - payload);
    entry.second = ring_.area;
    entry.secondLength = length - entry.firstLength;
}
