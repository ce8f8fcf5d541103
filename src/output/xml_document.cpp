#include "output/xml_document.h"

#include "output/xml_escape.h"

namespace uni {
namespace {

// Each line of the header stays one, the last one also with a line feed inside an argument.
void append_comment(std::string_view run_header, std::string& out) {
    constexpr int lines_of_header = 3;
    if (run_header.ends_with('\n')) run_header.remove_suffix(1);
    out += "<!--\n";
    for (int line = 1; line <= lines_of_header; ++line) {
        const std::size_t end = line < lines_of_header ? run_header.find('\n') : std::string_view::npos;
        append_comment_text(run_header.substr(0, end), out);
        out += '\n';
        if (end == std::string_view::npos) break;
        run_header.remove_prefix(end + 1);
    }
    out += "-->\n";
}

void append_attribute(std::string_view name, std::string_view value, bool escape, std::string& out) {
    out += name;
    out += "=\"";
    if (escape) {
        append_escaped(value, out);
    } else {
        out += value;
    }
    out += '"';
}

}  // namespace

std::string xml_beginning(const layout_settings& settings, const frame_facts& facts) {
    std::string text = "<?xml version=\"1.0\" encoding=\"utf-8\"?>\n\n";
    if (!facts.run_header.empty()) append_comment(facts.run_header, text);
    text += "<logdata ";
    if (!facts.image_path.empty()) {
        append_attribute("umounted_image", facts.image_path, settings.xml_escape, text);
        text += '\n';
    }
    append_attribute("filename", facts.journal_path, settings.xml_escape, text);
    text += ' ';
    append_attribute("version", facts.banner, settings.xml_escape, text);
    return text += ">\n";
}

std::string xml_comment(std::string_view text) {
    std::string comment = "<!-- ";
    append_comment_text(text, comment);
    return comment += " -->\n";
}

}  // namespace uni
