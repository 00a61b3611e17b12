#include "platform/jet/largeblock.h"

#include <cstdlib>
#include <cstring>
#include <utility>

#ifdef Q_OS_LINUX
#include <sys/mman.h>
#endif

namespace tolvane::jet {

LargeBlock::~LargeBlock()
{
    release();
}

LargeBlock::LargeBlock(LargeBlock &&other) noexcept
    : m_data(std::exchange(other.m_data, nullptr))
    , m_capacity(std::exchange(other.m_capacity, 0))
    , m_mapped(std::exchange(other.m_mapped, false))
{
}

LargeBlock &LargeBlock::operator=(LargeBlock &&other) noexcept
{
    if (this != &other) {
        release();
        m_data = std::exchange(other.m_data, nullptr);
        m_capacity = std::exchange(other.m_capacity, 0);
        m_mapped = std::exchange(other.m_mapped, false);
    }
    return *this;
}

void LargeBlock::release()
{
#ifdef Q_OS_LINUX
    if (m_mapped) {
        munmap(m_data, size_t(m_capacity));
        m_data = nullptr;
        return;
    }
#endif
    std::free(m_data);
    m_data = nullptr;
}

bool LargeBlock::reserve(qint64 capacity, qint64 keep, Pages pages)
{
    if (capacity <= m_capacity)
        return true;
#ifdef Q_OS_LINUX
    constexpr qint64 kMapFrom = 1 << 20;
    constexpr qint64 kLargePage = 2 << 20;
    if (capacity >= kMapFrom) {
        capacity = (capacity + kLargePage - 1) / kLargePage * kLargePage;
        void *p = MAP_FAILED;
        if (m_mapped) {
            p = mremap(m_data, size_t(m_capacity), size_t(capacity), MREMAP_MAYMOVE);
        } else {
            // Aligned to a large page, so that the kernel can use them.
            void *area = mmap(
                nullptr, size_t(capacity + kLargePage), PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
            if (area != MAP_FAILED) {
                const quintptr start = quintptr(area);
                const quintptr aligned = (start + kLargePage - 1) / kLargePage * kLargePage;
                if (aligned > start)
                    munmap(area, aligned - start);
                const quintptr end = start + quintptr(capacity + kLargePage);
                if (end > aligned + quintptr(capacity))
                    munmap(reinterpret_cast<void *>(aligned + quintptr(capacity)), end - aligned - quintptr(capacity));
                p = reinterpret_cast<void *>(aligned);
                if (pages == Pages::Large)
                    madvise(p, size_t(capacity), MADV_HUGEPAGE);
                if (keep > 0)
                    std::memcpy(p, m_data, size_t(keep));
                std::free(m_data);
            }
        }
        if (p == MAP_FAILED)
            return false;
        m_data = static_cast<char *>(p);
        m_capacity = capacity;
        m_mapped = true;
        return true;
    }
#endif
    (void)pages;
    (void)keep;
    void *p = std::realloc(m_data, size_t(capacity));
    if (!p)
        return false;
    m_data = static_cast<char *>(p);
    std::memset(m_data + m_capacity, 0, size_t(capacity - m_capacity));
    m_capacity = capacity;
    return true;
}

} // namespace tolvane::jet
