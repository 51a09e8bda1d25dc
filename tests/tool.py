"""Checks the command-line program: what it answers to arguments and standard input."""
import os
import pathlib
import re
import shlex
import shutil
import string
import tempfile

import play
from delivery import DOUBLES, check, exe, finish, given, models, run, windows

ITEM = '{"dtype":"float32","shape":[%s],"data":[%s]}'
FEED = '{"x":' + ITEM % ("1,3", "1,2.5,3") + "}"
WORDS = '{"data":%s,"x":%s}' % (ITEM % ("1,2", '"two\\nlines",""'), ITEM % ("1,2", "0,0"))
ERROR = r'\{"error":"%s"\}\n'
REFUSED = {
    FEED.replace("float", "\\\1"): r"unsupported input dtype '\\\\\\u000132'",
    FEED.replace("float", 99 * "ä"): r".*ä\\ufffd.*",
    '{"x":{"dtype":"float32"}}': "no reason given: .*",
    FEED + "\0": "the feed contains a zero byte",
    FEED[:50]: "malformed JSON numeric array",
}
TEXTS = dict(  # for the table below
    FEED=FEED,
    CUT=FEED + "\0",
    DOUBLES=DOUBLES,
    LONG='{"x":' + ITEM % ("9000", ",".join(["0.123456789"] * 9000)) + "}",
    SPACED=f"{FEED}\r\n\n{FEED.replace('2.5', ' ' * 10**7 + '2.5')}\n{FEED}",
    SPACED_RESULTS=DOUBLES + ERROR % "input_feed_json is empty" + 2 * DOUBLES,
    WORDS=WORDS.replace("float32", "string", 1).replace("float32", "int64"),
    REFUSED="\n".join(REFUSED),
    REASONS="".join(ERROR % reason for reason in REFUSED.values()),
    RUNS=r"minimum [\d.]+ us, median [\d.]+ us, maximum [\d.]+ us\n",
    PORTS=r'\{"inputs":\[\{"name":"x",.*\n\{"outputs":\[\{"name":"y",.*\n',
    OTHERS=r'\{"metadata":\{.*va\\"lue.*\}\}\n\{"providers":\["[^\n]*CPUExecutionProvider".*\]\}\n',
    EMPTIES=r'\{"data":\{"dtype":"string",.*,"data":\["",""\]\},\n "x":\{.*\[0,0\]\}\}\n',
    TWICE=r'.*"d\\"e\\\\f":.*\[7\].*"d\\"e\\\\f":.*\[7\].*',
    PATH="a" * 1024,
    MODEL='\n  input "x": float32 [-1,3]\n  output "y": float32 [-1,3]',
    NO_PATH=["CreateSession failed:", "model path cannot be converted to at most 1023"][windows],
)
# ARGUMENTS [< INPUT] -> EXIT_STATUS [PATTERN OF THE OUTPUT] [! PART OF THE ERROR OUTPUT]
TABLE = r"""
--help -> 0 usage: .*Exit status: .*
-h -> 0 usage: .*Exit status: .*
 -> 2 ! run: no MODEL is given
--feed -> 2 ! run: no MODEL is given
--feed double.onnx feed.json -> 2 ! run: --feed takes neither
--bench x double.onnx feed.json -> 2 ! run: invalid argument: x
--threads 0 double.onnx -> 2 ! run: invalid argument: 0
double.onnx --bench -> 2 ! run: needs a value: --bench
double.onnx --provider= -> 2 ! run: needs a value: --provider=
--lines --bench 3 double.onnx -> 2 ! run: --lines takes neither
--nothing double.onnx -> 2 ! run: invalid argument: --nothing
--version -> 0 onnxruntime_vornic-run \d+\.\d+\.\d+, ONNX Runtime 1\.\d+\.\d+\n
words.onnx -> 0 .*"custom_metadata_map":\{"\w+":"1","\w+":"1"\}\}\}\n.*
words.onnx --feed -> 0 $EMPTIES
--feed large.onnx -> 1 ! cannot make a feed: a feed holds at most 65536 numbers
--feed wide.onnx -> 1 ! cannot make a feed: the model has more than 16
--feed sum.onnx -> 1 ! cannot make a feed: an input's name has more
--bench=7 large.onnx -> 0 7 runs with the fast tensor run: $RUNS
--bench 7 --threads=2 --provider CPU={} -- words.onnx -> 0 7 runs: $RUNS
--provider CPU={3} double.onnx -> 1 ! provider option key must be a string
double.onnx -> 0 $PORTS$OTHERS
dóuble.onnx 食.json -> 0 $DOUBLES
quotes.onnx - 'd"e\f' 'd"e\f' < {"a"b\c":{"dtype":"float32","shape":[1],"data":[7]}} -> 0 $TWICE
long.onnx - < $LONG -> 1 \{"outputs":.{65524}\n ! the result: warning: cut
wordy.onnx -> 1 .* ! inputs: warning: cut
absent.onnx -> 1 ! run: CreateSession failed:
$PATH -> 1 ! run: $NO_PATH
double.onnx - -> 1 ! run: input_feed_json is empty$MODEL
double.onnx - < {"x":{"dtype":"float32"}} -> 1 ! run: no reason given
double.onnx - < $CUT -> 1 ! -: contains a zero byte
double.onnx --lines - y < $SPACED -> 1 $SPACED_RESULTS
double.onnx --lines < $REFUSED -> 1 $REASONS
words.onnx --lines < $WORDS -> 0 .*two\\u000alines.*\n
long.onnx --lines < $LONG -> 1 \{"error":"the result is cut at the text's limit"\}\n
double.onnx --lines absent.json -> 1 ! absent.json:
double.onnx --lines . -> 1 ! .:
double.onnx absent.json -> 1 ! absent.json: No such file
double.onnx huge.json -> 1 ! huge.json: too large
"""
ROW = re.compile(r"(.*?)(?: < (\S+))? -> (\d)(?: (.*?))??(?: ! (.*))?")


def filled(text):
    return string.Template(text or "").substitute(TEXTS)


def check_talk(program, folder):
    """One line at a time, each answered before the next; then the reader closes the pipe."""
    talk = play.Program([*program, "double.onnx", "--lines"], cwd=folder)
    answers = "".join(talk.ask([(FEED,)])[0] + "\n" for _ in range(3))
    check("--lines answers before the next line comes", DOUBLES * 3, answers)
    talk.process.stdout.close()
    talk.send([(FEED,)])
    talk.close()
    check("--lines without a reader", 3, talk.process.wait(60))


with tempfile.TemporaryDirectory() as work:
    folder = shutil.copytree(models, f"{work}/models")
    shutil.copy(models / "double.onnx", f"{folder}/dóuble.onnx")
    pathlib.Path(folder, "食.json").write_text(FEED)
    os.truncate(shutil.copy(models / "double.onnx", f"{folder}/huge.json"), 2**26)
    program = [*given.runner, given.build / f"onnxruntime_vornic-run{exe}"]
    for row in TABLE.strip("\n").split("\n"):
        arguments, feed, status, out, err = ROW.fullmatch(row).groups()
        command = [*program, *map(filled, shlex.split(arguments))]
        expected = int(status), filled(out), f".*{re.escape(filled(err))}.*"
        got = run(*command, feed=filled(feed), cwd=folder)
        check(f"onnxruntime_vornic-run {row}", expected, got)
    check_talk(program, folder)
finish()
