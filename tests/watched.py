"""Plays a script over the watched table, as the head of watched.txt says: watched.py SCRIPT MODELS RUNTIME PROGRAM..."""
import re
import sys
import play

OUT_OF_MEMORY = r"out of memory|\{\"error\":\"failed to read string output tensor\"\}|^((?!nothing).)*\|0\|"


class Watcher(play.Player):
    collects = False

    def came(self, step, got, error):
        if not self.collects:
            super().came(step, got, error)
        elif step.answer != "anything":
            self.answers += got.lstrip("'") + (" ! " + error) * (error != play.EARLIER) + "|"

    def scene(self, title, lines, what="the scene", call=0, allocation=0, goes_on=0):
        """All that came of the lines, which must leave nothing behind."""
        self.answers = "|"
        for place, line in lines:
            self.play(place, f"begin {call} {allocation} {goes_on}" if line == "begin" else line)
        self.release()
        counts, self.left = self.caller.ask([("", "t", "end")])[0][1:].split(":")
        self.calls, self.allocations, self.refused = (int(word) if word.isdigit() else word for word in counts.split(" "))
        self.expect(not self.left, title, f"{what} leaves behind{self.left}")
        return self.answers

    def expect(self, truth, title, what):
        self.failed += not truth
        truth or print(f"{title}: {what}\n  got       {self.answers[:1000]}")

    def refuse(self, title, lines):
        self.collects = True
        well, calls, allocations = self.scene(title, lines), self.calls, self.allocations
        if self.left:
            calls = allocations = 0  # every refusal would leave it behind too
        for k in range(1, calls + 1):
            answers = self.scene(title, lines, f"refusing call {k}", call=k)
            mark = self.words.get(self.refused, self.refused + " failed")
            given, well_given = (re.sub(r" ! [^|]*", "", text) for text in (answers, well))  # all but the last errors
            is_shown = answers == well if mark == "nowhere" else answers != well if mark == "somehow" else mark in answers and given != well_given
            self.expect(is_shown, title, f"refusing call {k}, {self.refused}, does not show as it should")
        for k in range(2, 2 * allocations + 2):  # that one alone, or all from there on
            answers = self.scene(title, lines, f"refusing allocation {k // 2}", allocation=k // 2, goes_on=k % 2)
            self.expect(re.search(OUT_OF_MEMORY, answers) and answers != well, title, f"refusing allocation {k // 2} does not show")
        self.expect(self.scene(title, lines) == well, title, "having refused changes the scene")
        print(f"{title}: {calls} calls, {allocations} allocations refused")
        self.collects = False


script, models, runtime, *command = sys.argv[1:]
watcher = Watcher(play.Program(command), models)
watcher.ask([("", "p", "watch", "'" + runtime)])
for scene in play.scenes(script):
    if "refused" in scene[0]:
        watcher.refuse(*scene)
    watcher.scene(*scene)
sys.exit(0 if watcher.end() else 1)
