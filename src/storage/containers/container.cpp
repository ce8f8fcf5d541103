#include "storage/containers/container.h"

#include "storage/containers/media.h"

#include <limits>

namespace {

using opener = opened_medium (*)(const std::string& path);

opener opener_of(container_reader reader) {
    switch (reader) {
#ifdef LORQ_HAS_EWF
        case container_reader::ewf: return open_ewf;
#endif
#ifdef LORQ_HAS_VHDI
        case container_reader::vhd: return open_vhd;
#endif
#ifdef LORQ_HAS_VMDK
        case container_reader::vmdk: return open_vmdk;
#endif
#ifdef LORQ_HAS_QCOW
        case container_reader::qcow: return open_qcow;
#endif
        default: return nullptr;
    }
}

}  // namespace

bool build_reads(container_reader reader) { return opener_of(reader) != nullptr; }

opened_container open_container(const std::string& path, const container_format& format) {
    const opener open = opener_of(format.reader);
    if (open == nullptr) return {};
    opened_medium opened = open(path);
    if (opened.disk == nullptr) return {nullptr, std::move(opened.told)};
    if (opened.disk->size() > static_cast<std::uint64_t>(std::numeric_limits<std::int64_t>::max())) {
        return {nullptr, "its size is impossible"};
    }
    if (opened.told.empty() && opened.tables != nullptr) opened.told = opened.tables->damage();
    return {make_container_source(std::move(opened.disk), std::move(opened.tables)), std::move(opened.told)};
}
