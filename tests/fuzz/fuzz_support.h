// tests/fuzz/fuzz_support.h: what the fuzz targets share: taking an input apart, volumes and settings made from it.
// Nothing here or in a target touches the disk.
#pragma once

#include "app/option_table.h"
#include "journal/journal_intake.h"
#include "ntfs/ntfs_volume.h"
#include "output/layouts.h"
#include "support/memory_source.h"
#include "support/ntfs_image_builder.h"

#include <sstream>

class fuzz_input {
public:
    fuzz_input(const std::uint8_t* data, std::size_t size) : rest_(data, size) {}

    // 0 bytes stand in for those that the input does not have.
    template <std::unsigned_integral T>
    [[nodiscard]] T number() {
        T out = 0;
        const std::size_t there = std::min(sizeof out, rest_.size());
        if (there != 0) std::memcpy(&out, rest_.data(), there);
        rest_ = rest_.subspan(there);
        return out;
    }
    [[nodiscard]] std::span<const std::uint8_t> take(std::size_t count) {
        const auto taken = rest_.first(std::min(count, rest_.size()));
        rest_ = rest_.subspan(taken.size());
        return taken;
    }
    // Of a size of its own, so that the address sanitizer sees every step behind the end.
    [[nodiscard]] bytes rest() const { return {rest_.begin(), rest_.end()}; }
    [[nodiscard]] bool empty() const { return rest_.empty(); }

private:
    std::span<const std::uint8_t> rest_;
};

// Makes the update sequences of records and index blocks such that applying them changes nothing, so that they stay
// right under every mutation.
inline void settle_sequences(std::span<std::uint8_t> image) {
    for (std::size_t at = 0; at + update_sequence_stride <= image.size(); at += update_sequence_stride) {
        const byte_view block(image.subspan(at));
        const auto signature = block.value<std::uint32_t>(multi_sector_header::signature);
        if (signature != signature_file && signature != signature_indx) continue;
        const std::size_t array = block.value<std::uint16_t>(multi_sector_header::sequence_offset);
        const std::size_t count = block.value<std::uint16_t>(multi_sector_header::sequence_count);
        for (std::size_t i = 1; i < count && block.fits(array + 2 * i, 2); ++i) {
            const std::size_t end = i * update_sequence_stride;
            if (!block.fits(end - 2, 2)) break;
            std::copy_n(image.begin() + static_cast<std::ptrdiff_t>(at + end - 2), 2,
                        image.begin() + static_cast<std::ptrdiff_t>(at + array + 2 * i));
        }
    }
}

inline disk_reader reader_over(bytes image, std::uint32_t alignment = 1, bool tells_size = true) {
    disk_reader reader;
    reader.open(std::make_unique<memory_source>(std::move(image), alignment, tells_size));
    return reader;
}

// A log that is on, so that its lines are composed too.
inline const diagnostic_log& fuzz_log() {
    static const diagnostic_log log = [] {
        diagnostic_log made;
        made.open([](std::string_view) {});
        return made;
    }();
    return log;
}

class no_effects : public option_effects {
public:
    bool open_log(const std::string&) override { return true; }
    bool can_create_results(const std::string&) override { return true; }
    void say(std::string_view) override {}
    [[nodiscard]] bool stops_at_failure() const override { return false; }
};

inline usnjrnl_context settings_from(argument_list arguments) {
    usnjrnl_context settings;
    no_effects effects;
    (void)take_options(arguments, settings, effects);
    return settings;
}

// Each bit switches on an option.
inline usnjrnl_context settings_of(std::uint32_t bits) {
    std::istringstream options(
        "-a -csv -csvgen -csvl2t -bodyfile -xml -multiline -xml_escape -base10 -show_offset -show_dir_path -pulltimes "
        "-pair_datetime -no_whitespace -include_unalloc_clusters -include_vss_clusters -include_slack_space -quiet "
        "-complete -jsonl -unique -path_history");
    argument_list arguments{"lorq"};
    for (std::string option; options >> option; bits >>= 1U) {
        if ((bits & 1U) != 0) arguments.push_back(option);
    }
    return settings_from(std::move(arguments));
}

// Composes every line and shows it nowhere.
inline progress shown_progress() {
    progress shown;
    shown.show_with([](std::string_view) {}, [](std::string_view) {});
    return shown;
}

// Keeps no byte, and fails at none.
inline std::ostream& nowhere() {
    struct swallowing_buffer : std::streambuf {
        int_type overflow(int_type c) override { return traits_type::not_eof(c); }
        std::streamsize xsputn(const char*, std::streamsize count) override { return count; }
    };
    static swallowing_buffer buffer;
    static std::ostream out(&buffer);
    return out;
}

inline void write_all(const usnjrnl_context& settings, const journal_intake& intake) {
    progress shown = shown_progress();
    record_account account = intake.account();
    (void)uni::write_records(nowhere(), settings.layout, {.all = intake.records(), .source = "j\xff"}, intake.meter(),
                             shown, account);
    (void)account_text(account);
}
