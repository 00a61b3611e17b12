// LargeBlock: memory for big arrays that grow, such as a page image or a recordset's cells. From
// 1 MB on (Linux) it is a mapping of its own: it grows with mremap without copying, its untouched
// part costs no memory, and it may be given large pages, so that filling megabytes takes a
// handful of page faults instead of one per 4 KiB. Below that, and on other systems, it is
// malloc'd. Bytes a block never held are zero. Move-only; not thread-safe.
#pragma once

#include <algorithm>
#include <cstring>
#include <type_traits>

#include <QtGlobal>

namespace tolvane::jet {

class LargeBlock {
public:
    // Large pages where the system offers them: for memory that is filled at once.
    enum class Pages { Small, Large };

    LargeBlock() = default;
    ~LargeBlock();
    LargeBlock(LargeBlock &&other) noexcept;
    LargeBlock &operator=(LargeBlock &&other) noexcept;
    LargeBlock(const LargeBlock &) = delete;
    LargeBlock &operator=(const LargeBlock &) = delete;

    char *data() const { return m_data; }
    qint64 capacity() const { return m_capacity; }
    // Room for at least capacity bytes, the first keep bytes kept. False when the memory cannot
    // be had (the block is then unchanged).
    bool reserve(qint64 capacity, qint64 keep, Pages pages);

private:
    void release();

    char *m_data = nullptr;
    qint64 m_capacity = 0;
    bool m_mapped = false; // from mmap rather than malloc
};

// A growing array of plain values in a LargeBlock with large pages. Elements grown into are zero
// bytes. Move-only.
template <class T> class LargeArray {
    static_assert(std::is_trivially_copyable_v<T>);

public:
    qsizetype size() const { return m_size; }
    T *data() { return reinterpret_cast<T *>(m_block.data()); }
    const T *constData() const { return reinterpret_cast<const T *>(m_block.data()); }
    T &operator[](qsizetype i) { return data()[i]; }
    const T &at(qsizetype i) const { return constData()[i]; }
    void reserve(qsizetype n)
    {
        if (!m_block.reserve(
                qint64(n) * qint64(sizeof(T)), qint64(m_size) * qint64(sizeof(T)), LargeBlock::Pages::Large))
            qBadAlloc();
    }
    void resize(qsizetype n)
    {
        if (qint64(n) * qint64(sizeof(T)) > m_block.capacity())
            reserve(std::max<qsizetype>(n, 2 * (m_block.capacity() / qint64(sizeof(T)))));
        // Only elements held before need clearing: the block's bytes past them are zero.
        const qsizetype held = std::min(n, m_held);
        if (held > m_size)
            std::memset(static_cast<void *>(data() + m_size), 0, size_t(held - m_size) * sizeof(T));
        m_size = n;
        m_held = std::max(m_held, n);
    }

private:
    LargeBlock m_block;
    qsizetype m_size = 0;
    qsizetype m_held = 0; // the largest size so far: elements from it on were never written
};

} // namespace tolvane::jet
