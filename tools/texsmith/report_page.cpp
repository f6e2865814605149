#include "report_page.h"

namespace Tool {
namespace {

// No text in it ends the element that it stands in.
std::string jsonForScript(const Json& json) {
    std::string text;
    for (const char c : json.dump(-1, ' ', false, Json::error_handler_t::replace)) {
        text += c == '<' ? std::string("\\u003c") : std::string(1, c);
    }
    return text;
}

void appendPieces(std::string* page, std::size_t file, const PageTexels& texels) {
    for (const TexelPiece& piece : texels.m_pieces) {
        *page += "<script type=\"text/plain\" id=\"texels-" + std::to_string(file) + "-" +
                 std::to_string(piece.m_slice) + "-" + std::to_string(piece.m_face) + "-" +
                 std::to_string(piece.m_mip) + (piece.m_isDeflated ? "\" data-deflated=\"yes\">" : "\">") +
                 piece.m_base64 + "</script>\n";
    }
}

} // namespace

std::string makePage(const Json& report, const std::vector<PageTexels>& texels) {
    constexpr std::string_view kMark = "<!-- report -->\n";
    const std::string_view page = pageTemplate();
    const std::size_t mark = page.find(kMark);
    std::string text(page.substr(0, mark));
    text += "<script type=\"application/json\" id=\"report\">" + jsonForScript(report) + "</script>\n";
    for (std::size_t file = 0; file < texels.size(); ++file) {
        appendPieces(&text, file, texels[file]);
    }
    return text += page.substr(mark + kMark.size());
}

} // namespace Tool
