#include "run_lines.h"

#include <errno.h>
#include <stdlib.h>
#include <string.h>
#include <sys/stat.h>
#include <unistd.h>

enum { FIRST_SIZE = 1 << 16, MAX_READ = 1 << 30, MAX_RESULT = 65535 };

#define CONTROLS "\1\2\3\4\5\6\7\b\t\n\v\f\r\16\17\20\21\22\23\24\25\26\27\30\31\32\33\34\35\36\37"

/* A file and the bytes read from it that next_line has not returned yet. */
typedef struct {
    FILE* file;
    char* buffer; /* size bytes, and one for a terminator */
    size_t size;
    size_t begin, end;
} Reader;

void clear_last_error(void) {
    onnxruntime_vn_release_tensor(onnxruntime_vn_tensor_zeros_f32("[1]"));
}

/* Makes space after the buffered bytes; 0 if out of memory. */
static int make_space(Reader* reader) {
    size_t length = reader->end - reader->begin;
    if (reader->begin > 0) memmove(reader->buffer, reader->buffer + reader->begin, length);
    reader->begin = 0;
    reader->end = length;
    if (length < reader->size) return 1;
    size_t size = reader->size > 0 ? 2 * reader->size : FIRST_SIZE;
    char* larger = size > reader->size ? realloc(reader->buffer, size + 1) : NULL;
    if (larger == NULL) return 0;
    reader->buffer = larger;
    reader->size = size;
    return 1;
}

/* Reads whatever is available, without waiting for a full buffer as fread would. Returns 0 at the
 * end of the file and, with the reason, on failure. */
static int read_more(Reader* reader, const char** why) {
    if (!make_space(reader)) {
        *why = "out of memory";
        return 0;
    }
    size_t space = reader->size - reader->end;
    long got = (long)read(fileno(reader->file), reader->buffer + reader->end,
                          space < MAX_READ ? (unsigned)space : MAX_READ);
    if (got < 0) *why = strerror(errno);
    if (got > 0) reader->end += (size_t)got;
    return got > 0;
}

/* The next line, terminated, without its line break. Null after the last line and, with the
 * reason, on failure. The last line may lack a line break. */
static char* next_line(Reader* reader, size_t* length, const char** why) {
    char* line_feed = NULL;
    size_t searched = 0;
    for (int more = 1; more && line_feed == NULL;) {
        more = reader->end - reader->begin > searched || read_more(reader, why);
        size_t unsearched = reader->end - reader->begin - searched;
        if (more) line_feed = memchr(reader->buffer + reader->begin + searched, '\n', unsearched);
        searched += unsearched;
    }
    if (*why != NULL || (line_feed == NULL && searched == 0)) return NULL;
    char* line = reader->buffer + reader->begin;
    char* end = line_feed != NULL ? line_feed : line + searched;
    reader->begin = line_feed != NULL ? (size_t)(line_feed + 1 - reader->buffer) : reader->end;
    if (end > line && end[-1] == '\r') --end;
    *end = '\0';
    *length = (size_t)(end - line);
    return line;
}

/* The length of the UTF-8 character at `text`; 0 if it is not valid UTF-8. */
static size_t character_length(const char* text) {
    const unsigned char* at = (const unsigned char*)text;
    size_t length = at[0] < 0x80 ? 1 : at[0] < 0xc2 ? 0 : at[0] < 0xe0 ? 2 : at[0] < 0xf0 ? 3 : 4;
    for (size_t i = 1; i < length; ++i) {
        if ((at[i] & 0xc0) != 0x80) return 0;
    }
    int overlong = (at[0] == 0xe0 && at[1] < 0xa0) || (at[0] == 0xf0 && at[1] < 0x90);
    int surrogate = at[0] == 0xed && at[1] >= 0xa0;
    int too_large = at[0] > 0xf4 || (at[0] == 0xf4 && at[1] >= 0x90);
    return overlong || surrogate || too_large ? 0 : length;
}

/* Prints a message as JSON. It may quote parts of a feed, and may be cut inside a character. */
static void print_error(const char* text) {
    fputs("{\"error\":\"", stdout);
    while (*text != '\0') {
        size_t length = character_length(text);
        if (length == 0) {
            fputs("\\ufffd", stdout);
        } else if ((unsigned char)*text < ' ') {
            printf("\\u%04x", (unsigned)*text);
        } else {
            if (*text == '"' || *text == '\\') putchar('\\');
            fwrite(text, 1, length, stdout);
        }
        text += length > 0 ? length : 1;
    }
    puts("\"}");
}

/* Prints a result as one line. Control characters, including line breaks, occur only in strings,
 * where the library does not escape them. */
static void print_result(const char* json) {
    for (;;) {
        size_t plain = strcspn(json, CONTROLS);
        fwrite(json, 1, plain, stdout);
        json += plain;
        if (*json == '\0') break;
        printf("\\u%04x", (unsigned)*json++);
    }
    putchar('\n');
}

/* Prints the line for one feed; 0 if it is an error. */
static int answer(const InferenceSession* session, const char* outputs, const char* feed,
                  size_t length) {
    int is_text = memchr(feed, '\0', length) == NULL;
    RunResult* result = is_text ? onnxruntime_vn_run_json(session, outputs, feed) : NULL;
    const char* json = onnxruntime_vn_result_json(result);
    int whole = result != NULL && strlen(json) < MAX_RESULT;
    if (whole) {
        print_result(json);
    } else if (result != NULL) {
        print_error("the result is cut at the text's limit");
    } else if (!is_text) {
        print_error("the feed contains a zero byte");
    } else {
        const char* text = onnxruntime_vn_last_error();
        print_error(text[0] ? text : "no reason given: is a \"shape\" or \"data\" missing?");
        clear_last_error();
    }
    onnxruntime_vn_release_result(result);
    return whole;
}

int answer_lines(const InferenceSession* session, const char* outputs, FILE* feeds,
                 const char** why) {
    struct stat kind;
    int is_file = fstat(fileno(feeds), &kind) == 0 && S_ISREG(kind.st_mode);
    Reader reader = {.file = feeds};
    int good = 1;
    size_t length;
    const char* feed;
    clear_last_error();
    while (!ferror(stdout) && (feed = next_line(&reader, &length, why)) != NULL) {
        good &= answer(session, outputs, feed, length);
        /* The sender at the other end of a pipe may be waiting for this answer. */
        if (!is_file) fflush(stdout);
    }
    free(reader.buffer);
    return good && *why == NULL && !ferror(stdout);
}
