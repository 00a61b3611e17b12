// libFuzzer entry for one drawing reader, chosen when building: FUZZ_SFC, FUZZ_P21 or FUZZ_DXF.
// Built and run by run-fuzzers.sh with clang's -fsanitize=fuzzer,address,undefined.
#include <cstddef>
#include <cstdint>

#include <QByteArray>

#include "viewer/drawing/readers.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    const QByteArray bytes(reinterpret_cast<const char *>(data), qsizetype(size));
    using namespace tolvane::viewer::drawing;
#if defined(FUZZ_SFC)
    (void)readSfc(bytes);
#elif defined(FUZZ_P21)
    (void)readP21(bytes);
#else
    (void)readDxf(bytes);
#endif
    return 0;
}
