#include "support/counting_heap.h"
#include "support/report_recorder.h"

#include "qor/texsmith/texsmith.h"

#include <gtest/gtest.h>

#include <clocale>
#include <cstdio>
#include <cstring>
#include <limits>
#include <memory>
#include <new>
#include <string>

namespace {

namespace Raw = qor::Texsmith::Raw;
namespace Json = qor::Texsmith::Raw::Json;
using TestSupport::ReportRecorder;

std::string written(Json::Node& node, unsigned room = 4096) {
    std::string text(room, '#');
    Json::Writer writer;
    writer.init(text.data(), room);
    Json::write(&node, &writer);
    text.resize(writer.offset());
    return text;
}

void setSingleLine(Json::Node& node) {
    node.setMultiline(false);
    for (std::size_t i = 0; i < std::max(node.getElements(), 2 * node.getKeyValuePairs()); ++i) {
        if (Json::Node* const child = node.getElement(i)) {
            setSingleLine(*child);
        }
    }
}

// Reads from a buffer without a byte to spare, and gives what is written again and what was left unread.
std::string readAndWritten(const std::string& text, Json::Node& node) {
    const auto exact = std::make_unique<char[]>(text.size());
    std::memcpy(exact.get(), text.data(), text.size());
    Json::Reader reader;
    reader.init(exact.get(), static_cast<unsigned>(text.size()), Raw::g_mallocAllocator);
    Json::read(&node, &reader);
    setSingleLine(node);
    std::string result = written(node);
    if (!reader.isAtEnd()) {
        for (result += '|'; !reader.isAtEnd();) {
            result += reader.get();
        }
    }
    return result;
}

TEST(Json, ReadsItsOwnGrammar) {
    struct Case {
        const char* m_text;
        const char* m_written; // behind a bar, what is left unread
        const char* m_reports; // one letter each: end of the text, or a byte that does not match
    };
    static constexpr Case kCases[] = {
        {"true", "true", ""},
        {"truex", "true|x", ""},
        {" false ", "false", ""},
        {"trap", "true", "mm"},
        {"", "null", ""},
        {"null", "null|null", ""},
        {"007", "7", ""},
        {"-", "0", ""},
        {"1.", "1", ""},
        {".5", "0.500000", ""},
        {"-12.25,", "-12.250000|,", ""},
        {"1e5", "1|e5", ""},
        {"1.50", "1.500000", ""},
        {"3000000000", "3000000000.000000", ""},
        {"4294967296", "0", ""},
        {"-2147483648", "-2147483648", ""},
        {"0.12345678901", "0.037557", ""}, // eleven digits wrap
        {"'a\"b\\'", "\"a\"b\\\"", ""},
        {"\"a\nb\"", "\"a\nb\"", ""},
        {"[]", "[null]", ""},
        {"[1,]", "[1, null]", ""},
        {" [ 1 , 'x' ,[true]]z", "[1, \"x\", [true]]|z", ""},
        {"[1 2]", "[1, null]", "m"},
        {"{'a':1,\"A\":2}", "{\"a\" : 2}", ""},
        {"{abca:1}", "{\"bc\" : 1}", ""},
        {"{}", "{\"\" : null}", "eemem"},
        {"{'a", "{\"a\" : null}", "eemem"},
        {"[", "[null]", "em"},
    };
    for (const Case& c : kCases) {
        const ReportRecorder reports;
        Json::Node node(Raw::g_mallocAllocator);
        const std::string result = readAndWritten(c.m_text, node);
        std::string kinds;
        for (const auto& report : reports.assertions()) {
            EXPECT_EQ(report.m_file, "raw\\json");
            kinds += report.m_text == "Assertion 'matches' failed." ? 'm' : 'e';
        }
        EXPECT_EQ(result, c.m_written) << c.m_text;
        EXPECT_EQ(kinds, c.m_reports) << c.m_text;
    }
}

TEST(Json, EndsOnEveryText) {
    const ReportRecorder reports;
    for (const std::string piece : {"[", "{'a':", "[[1,", "{'a", "[{", ",", "]{"}) {
        std::string text;
        for (unsigned i = 0; i < 1000; ++i) {
            text += piece;
        }
        Json::Node node(Raw::g_mallocAllocator);
        readAndWritten(text, node);
        EXPECT_GE(reports.assertions().size(), piece == "," ? 0u : 1u);
    }
}

TEST(Json, WritesLinesWithAnIndentAndDropsWhatDoesNotFit) {
    Json::Node node(Raw::g_mallocAllocator);
    node("Format").copyFromNumber(9);
    node("List")[2].copyFromBool(true);
    node("Text").copyFromString("x\ny");
    EXPECT_EQ(written(node),
              "{\r\n    \"Format\" : 9, \r\n    \"List\" : [\r\n        null, \r\n        null, \r\n"
              "        true\r\n    ], \r\n    \"Text\" : \"x\n    y\"\r\n}");
    const ReportRecorder reports;
    EXPECT_EQ(written(node, 5), "{\r\n  ");
    EXPECT_EQ(reports.assertions().front().m_text, "Assertion 'm_offset < m_size' failed.");
}

// Where a German locale is installed.
TEST(Json, NumbersAreTheSameUnderEveryLocale) {
    for (const char* name : {"de_DE.UTF-8", "de_DE", "German"}) {
        if (std::setlocale(LC_NUMERIC, name) != nullptr) {
            break;
        }
    }
    char text[64];
    std::snprintf(text, sizeof text, "%.1f", 0.5);
    const bool isGerman = std::string(text) == "0,5";
    Json::Node node(Raw::g_mallocAllocator);
    EXPECT_EQ(readAndWritten("-12.25", node), "-12.250000");
    Raw::Property{0, Raw::kPropertyTypeFloat, 0, {0, 0, 0xC0, 0x3F}}.print(text, sizeof text, nullptr);
    EXPECT_STREQ(text, "TexelU 1.500000\n");
    std::setlocale(LC_NUMERIC, "C");
    if (!isGerman) {
        GTEST_SKIP() << "no German locale is installed";
    }
}

// A list of an odd capacity shrinks below half of it, too.
TEST(Json, ListsShrinkBelowHalf) {
    Json::NodeList list(Raw::g_mallocAllocator);
    list.setSize(5);
    list.setSize(3);
    EXPECT_EQ(list.length(), 5 * sizeof(Json::Node*));
    list.setSize(2);
    EXPECT_EQ(list.length(), 2 * sizeof(Json::Node*));
}

TEST(Json, ChangesTypesAndPairs) {
    Json::Node node(Raw::g_mallocAllocator);
    for (const char* key : {"a", "b", "c"}) {
        node(key).copyFromString(key);
    }
    node.deleteKey("x");
    node.deleteKey("A");
    EXPECT_STREQ(node.getKey(0)->copyToString(), "c");
    node("d")[0].copyFromNode(node);
    setSingleLine(node);
    EXPECT_EQ(written(node),
              "{\"c\" : \"c\", \"b\" : \"b\", \"d\" : [{\"c\" : \"c\", \"b\" : \"b\", \"d\" : [null]}]}");
    node.copyFromNode(node("d")[0]("b")); // from below itself
    EXPECT_STREQ(node.copyToString(), "b");
    EXPECT_EQ(node.getElements() + node.getKeyValuePairs(), 0u);
    EXPECT_EQ(node.getElement(0), nullptr);
    EXPECT_EQ(node.copyToNumber(), 0.0);
    node[1].copyFromNumber(2.5);
    EXPECT_EQ(node.getElement(0), nullptr);
    EXPECT_EQ(node.getElements(), 2u);
    EXPECT_STREQ(node.copyToString(), "");
}

TEST(Json, WithoutMemoryATreeStaysWholeAndNothingLeaks) {
    std::string text = "{'a':[1,{'b':'c'},[2]],'key':'text'}";
    std::size_t refused = 0;
    for (bool isDone = false; !isDone; ++refused) {
        TestSupport::CountingHeap heap;
        {
            Json::Node node(heap.allocator()), copy(heap.allocator());
            heap.m_most = refused;
            try {
                Json::Reader reader;
                reader.init(text.data(), static_cast<unsigned>(text.size()), heap.allocator());
                Json::read(&node, &reader);
                copy.copyFromNode(node);
                isDone = true;
            } catch (const std::bad_alloc&) {
            }
            heap.m_most = ~std::size_t{0};
            node("more")[2].copyFromBool(true);
            EXPECT_NE(written(node).find("\"more\" : ["), std::string::npos) << refused;
            written(copy);
        }
        EXPECT_EQ(heap.m_live, 0) << refused;
    }
    EXPECT_GT(refused, 20u);
    Json::Node node(Raw::g_mallocAllocator);
    const std::size_t last = std::numeric_limits<std::size_t>::max();
    for (const std::size_t index : {last, last - 1, last / sizeof(void*) + 1}) {
        EXPECT_THROW(node[index], std::bad_alloc);
    }
    EXPECT_EQ(node.getElements(), 0u);
}

} // namespace
