"""Checks onnxruntime_vornic-run: check_run_tool.py TOOL MODELS [EMULATOR]"""
import re
import shutil
import subprocess
import sys
import tempfile

tool, models = sys.argv[1:3]
ITEM = '{"dtype":"float32","shape":[%s],"data":[%s]}'
FEED = '{"x":' + ITEM % ("1,3", "1,2.5,3") + "}"
LONG = '{"x":{"dtype":"float32","shape":[9000],"data":[%s]}}' % ",".join(["0.123456789"] * 9000)
ODD = '{"a"b\\c":' + ITEM % ("1", "7") + "}"
GIVES = r'\{"outputs":\{"y":\{"dtype":"float32","shape":\[1,3\],"data":\[2,5,6\]\}\}\}\n'
TIMES = r"7 runs: minimum [\d.]+ us, median [\d.]+ us, maximum [\d.]+ us\n"
LINES = (r'\{"inputs":\[\{"name":"x",.*\}\]\}\n\{"outputs":\[\{"name":"y",.*\}\]\}\n'
         r'\{"metadata":\{.*va\\"lue.*\}\}\n\{"providers":\["[^\n]*CPUExecutionProvider".*\]\}\n')
# Arguments; standard input; all of standard output; a part of standard error; exit status.
CASES = [
    (["--help"], "", r"usage: .*Exit status: .*", "", 0),
    (["--version"], "", r"onnxruntime_vornic-run \d+\.\d+\.\d+, ONNX Runtime 1\.\d+\.\d+\n", "", 0),
    ([], "", "", "usage: ", 2),
    (["--bench", "x", "double.onnx", "feed.json"], "", "", "usage: ", 2),
    (["--bench", "7", "double.onnx"], "", "", "usage: ", 2),
    (["--nothing", "double.onnx"], "", "", "usage: ", 2),
    (["double.onnx"], "", LINES, "", 0),
    (["dóuble.onnx", "食.json"], "", GIVES, "", 0),
    (["double.onnx", "-", "y", "y"], FEED, GIVES.replace(r"6\]\}", r"6\]\},\"y\":.*"), "", 0),
    (["quotes.onnx", "-", 'd"e\\f'], ODD, r'.*"d\\"e\\\\f":.*\[7\].*', "", 0),
    (["--bench", "7", "double.onnx", "feed.json"], "", TIMES, "", 0),
    (["long.onnx", "-"], LONG, r'\{"outputs":.{65524}\n', "the result: warning: cut", 1),
    (["wordy.onnx"], "", r".*", "inputs: warning: cut", 1),
    (["absent.onnx"], "", "", "no session: CreateSession failed: ", 1),
    (["absent.onnx", "absent.json"], "", "", "absent.json: No such file", 1),
    (["double.onnx", "-"], "", "", "the run failed: input_feed_json is empty", 1),
    (["double.onnx", "-"], '{"x":{"dtype":"float32"}}', "", "the run failed: no reason given", 1),
    (["--bench", "7", "double.onnx", "-"], "{}", "", "missing input 'x' in feed JSON", 1),
    (["double.onnx", "-", "no"], FEED, "", "the run failed: ", 1),
    (["double.onnx", "-"], FEED + "\0", "", "-: not a text", 1),
    (["double.onnx", "huge.json"], "", "", "huge.json: too large", 1),
]
failed = 0
with tempfile.TemporaryDirectory() as folder:
    for name in ("double", "quotes", "long", "wordy"):
        shutil.copy(f"{models}/{name}.onnx", folder)
    shutil.copy(f"{models}/double.onnx", f"{folder}/dóuble.onnx")
    for name in ("feed", "食"):
        with open(f"{folder}/{name}.json", "w", encoding="utf-8") as file:
            file.write(FEED)
    with open(f"{folder}/huge.json", "wb") as file:
        file.truncate(2**26)
    for arguments, feed, output, error, status in CASES:
        done = subprocess.run(sys.argv[3:] + [tool] + arguments, input=feed.encode(), cwd=folder,
                              capture_output=True)
        got = (done.returncode, done.stdout.decode(), done.stderr.decode())
        good = got[0] == status and re.fullmatch(output, got[1], re.DOTALL) and error in got[2]
        failed += not good
        print("ok" if good else "FAILED", *arguments)
        if not good:
            print(f"  expected {(status, output, error)}\n  got      {got}"[:2000])
sys.exit(failed > 0)
