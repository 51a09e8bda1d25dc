"""Plays script.txt through Python's ctypes, as the author of a binding can: play.py LIBRARY MODELS SCRIPT"""
import ctypes
import re
import sys

library, libc = ctypes.CDLL(sys.argv[1]), ctypes.CDLL(None)
words, handles, failed = {"models": sys.argv[2]}, {}, 0
INNERMOST = re.compile(r"<((?:[^<>-]|-(?!>)|->)*)>")
WORDS = re.compile(r"'[^']*'|\.\.\.|!.*|[^' ]+")
EARLIER = "invalid shape_json"
EMPTIES = re.compile(r"run_json|run_tensor|run_with_|tensor_|create_session$|session_end_profiling")


def call(name, *arguments, restype=ctypes.c_void_p):
    function = library["onnxruntime_vn_" + name]
    function.restype = restype
    return function(*arguments)


def text_of(name, *arguments):
    return (call(name, *arguments, restype=ctypes.c_char_p) or b"").decode("latin-1")


def spell(text, choice):
    """The text spelled out in one of its choices, and how many there are."""
    choices = 1
    while part := INNERMOST.search(text):
        parts, (times, star, piece) = part[1].split("|"), part[1].partition("*")
        choices = max(choices, len(parts))
        if len(parts) > 1:
            piece = parts[choice % len(parts)]
        elif star:
            piece *= int(times)
        else:
            piece = chr(int(times[1:], 16)) if re.fullmatch("x[0-9a-f]{2}", times) else words[times]
        text = text[: part.start()] + piece + text[part.end():]
    return text, choices


def argument(word, adopted):
    if word[:4] in ("f32:", "i64:"):
        numbers = word[4:].split(",")
        kind, read = (ctypes.c_float, float) if word[0] == "f" else (ctypes.c_int64, int)
        block = (kind * len(numbers))(*map(read, numbers))
        return block if not adopted or word[0] == "i" else libc.memcpy(libc.malloc(len(bytes(block))), block, len(bytes(block)))
    if word[0] == "'":
        return word[1:-1].encode("latin-1")
    return ctypes.c_void_p(handles.get(word[1:])) if word[0] == "$" else None if word == "null" else int(word)


def play(line):
    """Whether all that comes of the line is as it says."""
    given = WORDS.findall(line)
    kind = given.pop(0)[1:] if given[0][0] == "$" else ""
    name, end = given[bool(kind)], next((i for i, word in enumerate(given) if word[0] in "-!" and word[:2] in ("->", "!", "! ")), len(given))
    arguments = [argument(word, "adopt" in name) for word in given[1 + bool(kind): end]]
    error = next((word[2:] for word in given if word[0] == "!"), None)
    answer = [word for word in given[end:] if word[0] != "!" and word != "->"]
    call("session_end_profiling" if error == EARLIER else "tensor_zeros_f32", None)
    got = call(name, *arguments, restype=ctypes.c_float if name == "result_float_at" else ctypes.c_void_p)
    said = text_of("last_error").partition(" failed: ")
    if kind:
        call("release_" + kind, ctypes.c_void_p(handles.get(kind)))
        handles[kind] = got
    null = answer == ["null"] or (error is not None and not answer)
    good = said[0] + said[1].partition(":")[0] == (error if error is not None else "" if EMPTIES.match(name) and not null else EARLIER)
    value = next((word for word in answer if word != "..."), "")
    if null or not answer:
        return good and (null == (not got if kind else not ctypes.c_int32(got or 0).value))
    if value[0] == "'":
        text = "'" + (text_of("result_json", ctypes.c_void_p(got)) if kind else ctypes.string_at(got).decode("latin-1")) + "'"
        return good and (text.startswith(value[:-1]) if answer[-1] == "..." else text.endswith(value[1:]) if answer[0] == "..." else text == value)
    if value[:4] == "f32:":
        floats = argument(value, False)
        return good and (bytes(ctypes.c_float(got)) if isinstance(got, float) else ctypes.string_at(got, len(bytes(floats)))) == bytes(floats)
    return good and ctypes.c_int32(got or 0).value == int(value)


call("available")
libc.malloc.restype = libc.memcpy.restype = ctypes.c_void_p
libc.malloc.argtypes, libc.memcpy.argtypes = [ctypes.c_size_t], [ctypes.c_void_p, ctypes.c_void_p, ctypes.c_size_t]
for number, line in enumerate(open(sys.argv[3], encoding="latin-1"), 1):
    if line.startswith("== "):
        for kind in sorted(handles):
            call("release_" + kind, ctypes.c_void_p(handles.pop(kind)))
    elif definition := re.match(r"(\w+): (.*)", line):
        words[definition[1]] = definition[2]
    elif line[0] not in "#\n":
        choice, choices = 0, 1
        while choice < choices:
            spelled, choices = spell(line.rstrip("\n"), choice)
            if not play(spelled):
                failed += 1
                print(f"{sys.argv[3]}:{number}: not so: {spelled[:200]}")
            choice += 1
sys.exit(failed > 0)
