#include "journal/past_paths.h"

namespace {

directory_places finished(gathered_history& told, const mft_testimony* mft) {
    told.places().finish(mft);
    return std::move(told.places());
}

}  // namespace

past_paths::past_paths(std::unique_ptr<gathered_history> told, const mft_testimony* mft, bool with_surrogates)
    : told_(std::move(told)), history_(finished(*told_, mft), with_surrogates) {}
