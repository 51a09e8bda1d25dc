/* Tells whether the library has found a runtime: once at the start, and again for each line of
 * standard input. */
#include <stdio.h>

#include "onnxruntime_vornic.h"

int main(void) {
    char line[16];
    do {
        const int available = onnxruntime_vn_available();
        printf("%d [%s] [%s]\n", available, onnxruntime_vn_last_error(),
               onnxruntime_vn_get_version_string());
        fflush(stdout);
    } while (fgets(line, sizeof line, stdin) != NULL);
    return 0;
}
