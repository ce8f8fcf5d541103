#include "storage/volume_names.h"

#include "base/text.h"

namespace {

bool is_letter(char c) { return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z'); }

}  // namespace

bool is_drive_letter_form(std::string_view value) {
    if (value.empty() || !is_letter(value.front())) return false;
    const std::string_view rest = value.substr(1);
    return rest.empty() || rest == ":" || rest == ":\\";
}

bool is_device_path(std::string_view value) { return value.starts_with(R"(\\)"); }

reader_mode reader_mode_of(std::string_view path) {
    if (is_device_path(path)) return reader_mode::device_path;
    return is_drive_letter_form(path) ? reader_mode::live_volume : reader_mode::image_file;
}

bool is_volume_journal_path(std::string_view path) {
    return path.size() > 2 && is_letter(path[0]) && path[1] == ':' &&
           equal_ignoring_case(path.substr(2), journal_on_volume);
}

std::string live_volume_path(char letter) { return std::string(R"(\\.\)") + letter + ':'; }

std::string shadow_copy_path(std::string_view index) {
    return std::string(R"(\\?\GLOBALROOT\Device\HarddiskVolumeShadowCopy)").append(index);
}
