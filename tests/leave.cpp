// Hosts that leave as they please: leave LIBRARY MODEL exit|unload|reload
#include <string.h>

#include "onnxruntime_vornic.h"
#include "support/platform.h"

#define OF(name)                                        \
    reinterpret_cast<decltype(&onnxruntime_vn_##name)>( \
        find_function(argv[1], "onnxruntime_vn_" #name))

int main(int argc, char** argv) {
    const char* way = argv[argc - 1];
    for (int i = strcmp(way, "reload") == 0 ? 5 : 1; i > 0; --i) {
        InferenceSession* session = OF(create_session)(argv[2], nullptr);
        const char* feed = "{\"x\":{\"dtype\":\"float32\",\"shape\":[1,3],\"data\":[1,2,3]}}";
        RunResult* result = OF(run_json)(session, nullptr, feed);
        if (strstr(OF(result_json)(result), "[2,4,6]") == nullptr) return 2;
        if (strcmp(way, "exit") == 0) return 0;
        OF(release_result)(result);
        OF(release_session)(session);
        unload(argv[1]);
    }
    return 0;
}
