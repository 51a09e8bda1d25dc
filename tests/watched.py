"""Plays a script against the watched table of ONNX Runtime; see the head of watched.txt.

    watched.py SCRIPT MODELS RUNTIME PROGRAM...
"""
import re
import sys

import play

OUT_OF_MEMORY = (
    r"out of memory|\{\"error\":\"failed to read string output tensor\"\}|^((?!nothing).)*\|0\|"
)


def values(answers):
    """The answers without the last errors."""
    return re.sub(r" ! [^|]*", "", answers)


class Watcher(play.Player):
    collects = False  # whether answers are collected, for comparison, instead of checked

    def check(self, call, got, error):
        if not self.collects:
            super().check(call, got, error)
        elif call.answer != "anything":
            got = re.sub(r"(_profile_).*", r"\1", got.strip("'"))  # a time follows
            self.answers += got + (" ! " + error) * (error != play.EARLIER) + "|"

    def scene(self, title, calls, what="the scene", refusals="0 0 0"):
        """Plays the calls, which must not leak; returns their answers."""
        self.answers = "|"
        for place, text in calls:
            self.play(play.Call(place, f"begin {refusals}" if text == "begin" else text))
        self.release()
        counts, self.left = self.program.ask([("", "t", "end")])[0][1:].split(":")
        self.calls, self.allocations, self.refused = counts.split(" ")
        self.expect(not self.left, title, f"{what} leaks{self.left}")
        return self.answers

    def expect(self, is_met, title, fault, well=None):
        self.failed += not is_met
        if not is_met:
            print(f"FAILED: {title}: {fault}", flush=True)
            if well is not None:
                print(play.difference(well, self.answers, ("without", "with")), flush=True)

    def refuse(self, title, calls, words):
        """Plays a scene again and again, each time with another refusal, which must show."""
        self.collects = True
        well = self.scene(title, calls)
        # What leaks without a refusal leaks with each: it is reported once.
        count, allocations = (0 if self.left else int(n) for n in (self.calls, self.allocations))
        for k in range(1, count + 1):
            answers = self.scene(title, calls, f"refusing call {k}", f"{k} 0 0")
            mark = words.get(self.refused, self.refused + " failed")
            shows = {"nowhere": answers == well, "somehow": answers != well}
            is_met = shows.get(mark, mark in answers and values(answers) != values(well))
            fault = f"refusing call {k}, {self.refused}, must show as: {mark}"
            self.expect(is_met, title, fault, well)
        for k in range(1, allocations + 1):
            for goes_on in (0, 1):
                what = f"refusing allocation {k}" + " and all after it" * goes_on
                answers = self.scene(title, calls, what, f"0 {k} {goes_on}")
                is_met = re.search(OUT_OF_MEMORY, answers) and answers != well
                self.expect(is_met, title, what + " must show", well)
        again = self.scene(title, calls)
        self.expect(again == well, title, "after the refusals the answers differ", well)
        print(f"{title}: {count} calls, {allocations} allocations refused")
        self.collects = False


def main(script, models, runtime, *command):
    watcher = Watcher(play.Program(command))
    watcher.ask([("", "p", "watch", "'" + runtime)])
    for title, calls, words in play.scenes(script, models):
        if "refused" in title:
            watcher.refuse(title, calls, words)
        watcher.scene(title, calls)
    return 0 if watcher.end() else 1


if __name__ == "__main__":
    sys.exit(main(*sys.argv[1:]))
