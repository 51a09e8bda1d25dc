"""Plays script.txt through Python's ctypes, as the author of a binding can: play.py LIBRARY MODELS SCRIPT"""
import ctypes
import re
import sys

library, libc = ctypes.CDLL(sys.argv[1]), ctypes.CDLL(None)
libc.malloc.restype, libc.malloc.argtypes, libc.memcpy.restype = ctypes.c_void_p, [ctypes.c_size_t], ctypes.c_void_p
words, handles, failed, pointer = {"models": sys.argv[2]}, {}, 0, ctypes.c_void_p
EMPTIES_ERROR = "(run_json|run_tensor|run_with_|tensor_|create_session$|session_end_profiling).*"


def call(name, *arguments, restype=pointer):
    function = library["onnxruntime_vn_" + name]
    function.restype = restype
    return function(*arguments)


def spell(text, choice):
    """The text spelled out from the inside, in one of its choices, and how many there are."""
    choices = 1
    while part := re.search("<((?:[^<>-]|-(?!>)|->)*)>", text):
        parts, (times, star, piece) = part[1].split("|"), part[1].partition("*")
        choices = max(choices, len(parts))
        byte = re.fullmatch("x([0-9a-f]{2})", times)
        made = parts[choice % len(parts)] if len(parts) > 1 else int(times) * piece if star else chr(int(byte[1], 16)) if byte else words[times]
        text = text[: part.start()] + made + text[part.end():]
    return text, choices


def argument(word, is_adopted):
    if word[:4] in ("f32:", "i64:"):
        kind, read = (ctypes.c_float, float) if word[0] == "f" else (ctypes.c_int64, int)
        block = bytes(b"".join(bytes(kind(read(number))) for number in word[4:].split(",")))
        return pointer(libc.memcpy(pointer(libc.malloc(len(block))), block, len(block))) if is_adopted and word[0] == "f" else block
    if word[0] in "'$":
        return word[1:-1].encode("latin-1") if word[0] == "'" else pointer(handles.get(word[1:]))
    return None if word == "null" else int(word)


def text_at(address):
    return "'" + ctypes.string_at(address).decode("latin-1") + "'"


def play(line):
    """Whether all that comes of the line is as it says."""
    kind, name, arguments, ends, answer, goes_on, error = re.fullmatch(
        r"(?:\$(\w+) = )?(\w+)((?: '[^']*'| [\w$:.,-]+)*?)(?: -> (\.\.\.)?('[^']*'|[\w:.,+-]+?)(\.\.\.)?)?(?: !(?: (.*))?)?", line).groups()
    fails, silent, before = " !" in line and not answer, answer == "null", "invalid shape_json"
    arguments = [argument(word, "adopt" in name) for word in re.findall(r"'[^']*'|[^ ]+", arguments)]
    call("session_end_profiling" if error == before else "tensor_zeros_f32", None)
    got = call(name, *arguments, restype=ctypes.c_float if name == "result_float_at" else pointer)
    last, colon, _ = text_at(call("last_error"))[1:-1].partition(" failed: ")
    if kind:
        call("release_" + kind, pointer(handles.get(kind)))
        handles[kind] = got
    if last + " failed" * bool(colon) != (error or "" if error is not None else "" if re.fullmatch(EMPTIES_ERROR, name) and not silent else before):
        return False
    if not answer or silent:
        return (fails or silent) == (not (got if kind else ctypes.c_int32(got or 0).value))
    if answer[0] == "'":
        text = text_at(call("result_json", pointer(got)) if kind else got)
        return text.startswith(answer[:-1]) if goes_on else text.endswith(answer[1:]) if ends else text == answer
    if answer[:4] == "f32:":
        floats = argument(answer, False)
        return (bytes(ctypes.c_float(got)) if isinstance(got, float) else ctypes.string_at(got, len(floats))) == floats
    return ctypes.c_int32(got or 0).value == int(answer)


call("available")
for number, line in enumerate(open(sys.argv[3], encoding="latin-1"), 1):
    definition, choice, choices = re.match(r"(\w+): (.*)", line), 0, 1
    if definition:
        words[definition[1]] = definition[2]
    while not definition and line[0] not in "#=\n" and choice < choices:
        spelled, choices = spell(line.rstrip("\n"), choice)
        if not play(spelled):
            failed += 1
            print(f"{sys.argv[3]}:{number}: not as expected: {spelled[:300]}")
        choice += 1
    for kind in sorted(handles) * line.startswith("== "):
        call("release_" + kind, pointer(handles.pop(kind)))
sys.exit(failed > 0)
