#include "core/allocator.h"
#include "core/bounded_text.h"
#include "core/last_error.h"
#include "core/owned.h"
#include "core/status.h"
#include "session/session_description.h"

using namespace vornic;

namespace {

using MetadataGetter = decltype(OrtApi::ModelMetadataGetProducerName);

void append_member(BoundedText& text, const char* key, const char* value) {
    vnort_append(text, "\"");
    vnort_json_escape_append(text, key);
    vnort_append(text, "\":\"");
    vnort_json_escape_append(text, value);
    vnort_append(text, "\"");
}

void vnort_modelmeta_append_string(const OrtModelMetadata* metadata, OrtAllocator* allocator,
                                   BoundedText& text, const char* key, MetadataGetter get) {
    char* value = nullptr;
    if (!vnort_status_ok(get(metadata, allocator, &value), key)) value = nullptr;
    append_member(text, key, AllocatorOwned<char>(value, {allocator}).get());
}

void append_custom_member(const OrtModelMetadata* metadata, OrtAllocator* allocator,
                          BoundedText& text, const char* key) {
    char* value = nullptr;
    if (key != nullptr && !vnort_status_ok(g_api->ModelMetadataLookupCustomMetadataMap(
                                               metadata, allocator, key, &value),
                                           "ModelMetadataLookupCustomMetadataMap")) {
        value = nullptr;
    }
    append_member(text, key, AllocatorOwned<char>(value, {allocator}).get());
}

void append_custom_members(const OrtModelMetadata* metadata, OrtAllocator* allocator,
                           BoundedText& text) {
    char** names = nullptr;
    int64_t count = 0;
    if (!vnort_status_ok(
            g_api->ModelMetadataGetCustomMetadataMapKeys(metadata, allocator, &names, &count),
            "ModelMetadataGetCustomMetadataMapKeys")) {
        return;
    }
    const AllocatorArray<char, AllocatorFree> keys(allocator, {allocator}, names,
                                                   count > 0 ? static_cast<uint64_t>(count) : 0);
    for (uint64_t i = 0; i < keys.count(); ++i) {
        if (i > 0) vnort_append(text, ",");
        append_custom_member(metadata, allocator, text, keys.elements()[i]);
    }
}

}  // namespace

void vornic::describe_metadata(InferenceSession* session) {
    copy_text(session->modelmeta_json, "{}");
    OrtAllocator* allocator = default_allocator();
    if (allocator == nullptr) return;
    OwnedMetadata metadata;
    if (!vnort_status_ok(g_api->SessionGetModelMetadata(session->session, Receive(metadata)),
                         "SessionGetModelMetadata")) {
        return;
    }
    const struct {
        const char* key;
        MetadataGetter get;
    } members[] = {
        {"producer_name", g_api->ModelMetadataGetProducerName},
        {"graph_name", g_api->ModelMetadataGetGraphName},
        {"domain", g_api->ModelMetadataGetDomain},
        {"description", g_api->ModelMetadataGetDescription},
    };
    BoundedText text = {session->modelmeta_json, sizeof session->modelmeta_json, 0};
    vnort_append(text, "{");
    for (const auto& member : members) {
        vnort_modelmeta_append_string(metadata.get(), allocator, text, member.key, member.get);
        vnort_append(text, ",");
    }
    int64_t version = 0;
    if (!vnort_status_ok(g_api->ModelMetadataGetVersion(metadata.get(), &version),
                         "ModelMetadataGetVersion")) {
        version = 0;
    }
    vnort_appendf(text, "\"version\":%lld,\"custom_metadata_map\":{",
                  static_cast<long long>(version));
    append_custom_members(metadata.get(), allocator, text);
    vnort_append(text, "}}");
    clear_error();
}
