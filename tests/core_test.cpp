#include "core/bounded_text.h"
#include "core/element_type.h"
#include "core/last_error.h"
#include "core/runtime.h"
#include "support/vornic_test.h"

namespace {

class CoreTest : public VornicTest {};

TEST_F(CoreTest, BindsOnceAndRetriesAfterFailure) {
    const OrtApi* bound = g_api;
    g_api = nullptr;
    spy.null_base = true;
    EXPECT_EQ(onnxruntime_vn_available(), 0);
    EXPECT_EQ(error(), "OrtGetApiBase returned NULL");
    EXPECT_STREQ(onnxruntime_vn_get_version_string(), "");
    EXPECT_STREQ(onnxruntime_vn_get_available_providers_json(), "[]");
    EXPECT_EQ(onnxruntime_vn_create_run_options(), nullptr);
    EXPECT_EQ(onnxruntime_vn_create_session("", nullptr), nullptr);
    EXPECT_EQ(error(), "OrtGetApiBase returned NULL");
    spy.null_base = false;
    spy.null_table = true;
    EXPECT_EQ(onnxruntime_vn_available(), 0);
    EXPECT_EQ(error(), "GetApi returned NULL");
    spy.null_table = false;
    EXPECT_EQ(onnxruntime_vn_available(), 1);
    EXPECT_EQ(error(), "");
    EXPECT_EQ(g_api, bound);
    vnort_set_error("earlier");
    EXPECT_EQ(onnxruntime_vn_available(), 1);
    EXPECT_EQ(error(), "earlier");
    EXPECT_EQ(std::string(onnxruntime_vn_get_version_string()).substr(0, 2), "1.");
}

TEST_F(CoreTest, ReportsRefusals) {
    struct {
        std::string message, expected;
    } cases[] = {
        {"a %s of it", "GetAvailableProviders failed: a %s of it"},
        {"", "GetAvailableProviders failed: "},
        {std::string(2000, 'm'), "GetAvailableProviders failed: " + std::string(993, 'm')},
    };
    for (const auto& row : cases) {
        spy.message = row.message;
        spy.fail_call = spy.calls + 1;
        EXPECT_STREQ(onnxruntime_vn_get_available_providers_json(), "[]");
        EXPECT_EQ(error(), row.expected);
    }
    spy_table().GetErrorMessage = [](const OrtStatus*) noexcept -> const char* { return nullptr; };
    spy.fail_call = spy.calls + 1;
    EXPECT_STREQ(onnxruntime_vn_get_available_providers_json(), "[]");
    EXPECT_EQ(error(), "GetAvailableProviders failed");
}

TEST_F(CoreTest, CutsTextAtCapacity) {
    enum Operation { append, print, escape };
    struct {
        Operation operation;
        const char* start;
        const char* piece;
        uint64_t capacity;
        const char* expected;
    } cases[] = {
        {append, "", "abc", 4, "abc"},     {append, "abc", "d", 4, "abc"},
        {append, "", "abcdef", 4, "abc"},  {append, "ab", "", 3, "ab"},
        {print, "", "123456", 4, "123"},   {print, "a", "", 4, "a"},
        {print, "ab", "cd", 8, "abcd"},    {escape, "", "a\"b", 16, "a\\\"b"},
        {escape, "", "abcdef", 5, "abc"},  {escape, "", "a\\b", 5, "a\\\\"},
        {escape, "", "ab\"", 5, "ab\\\""}, {escape, "", "\n\t\x01\xc3\xa4", 16, "\n\t\x01\xc3\xa4"},
        {escape, "abc", "d", 5, "abc"},    {escape, "ab", "cd", 5, "abc"},
    };
    for (const auto& row : cases) {
        char room[32];
        memset(room, '#', sizeof room);
        BoundedText text = {room, row.capacity, strlen(row.start)};
        memcpy(room, row.start, text.length + 1);
        if (row.operation == append) vnort_append(text, row.piece);
        if (row.operation == print) vnort_appendf(text, "%s", row.piece);
        if (row.operation == escape) vnort_json_escape_append(text, row.piece);
        EXPECT_STREQ(room, row.expected) << row.start << " + " << row.piece;
        EXPECT_EQ(text.length, strlen(row.expected));
        EXPECT_EQ(room[row.capacity], '#') << "written past the end";
    }
    char untouched[4] = {'#', '#', '#', '#'};
    BoundedText full = {untouched, 2, 2};
    vnort_append(full, "a");
    vnort_appendf(full, "a");
    vnort_json_escape_append(full, "a");
    BoundedText empty = {untouched, 4, 0};
    vnort_json_escape_append(empty, nullptr);
    EXPECT_EQ(std::string(untouched, 4), "####");
}

TEST_F(CoreTest, NamesElementTypes) {
    struct {
        const char* accepted;
        uint32_t code;
        const char* written;
        uint32_t size;
    } cases[] = {
        {"float", 1, "float32", 4},  {"float32", 1, "float32", 4}, {"uint8", 2, "uint8", 1},
        {"int8", 3, "int8", 1},      {"uint16", 4, "uint16", 2},   {"int16", 5, "int16", 2},
        {"int", 6, "int32", 4},      {"int32", 6, "int32", 4},     {"int64", 7, "int64", 8},
        {"str", 8, "string", 0},     {"string", 8, "string", 0},   {"boolean", 9, "bool", 1},
        {"bool", 9, "bool", 1},      {"double", 11, "float64", 8}, {"float64", 11, "float64", 8},
        {"uint32", 12, "uint32", 4}, {"uint64", 13, "uint64", 8},
    };
    for (const auto& row : cases) {
        const ElementType* type = vnort_find_dtype(row.accepted);
        ASSERT_NE(type, nullptr) << row.accepted;
        EXPECT_EQ(type->code, row.code) << row.accepted;
        EXPECT_EQ(type->size, row.size) << row.accepted;
        EXPECT_STREQ(vnort_dtype_name(row.code), row.written);
        EXPECT_EQ(vnort_has_numeric_writer(row.code), row.size != 0) << row.accepted;
        size_t visited = 0;
        vnort_visit_numeric(row.code, [&](auto element) { visited = sizeof element; });
        EXPECT_EQ(visited, row.size) << row.accepted;
    }
    for (const char* refused :
         {"Float32", "FLOAT", "float32 ", "int 32", "float16", "unknown", ""}) {
        EXPECT_EQ(vnort_find_dtype(refused), nullptr) << refused;
    }
    for (uint32_t code : {0u, 10u, 14u, 4294967295u}) {
        EXPECT_STREQ(vnort_dtype_name(code), "unknown");
        EXPECT_FALSE(vnort_has_numeric_writer(code));
    }
}

}  // namespace
