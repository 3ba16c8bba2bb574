"""Differences between this library and a peer, counted under their reasons, as tables."""
import collections


def shown(text):
    return f"`\"{text}\"`"


class Differences:
    def __init__(self):
        self.reasons = collections.OrderedDict()
        self.same = 0

    def add(self, reason, model, given, ours, theirs):
        self.reasons.setdefault(reason, []).append((model, given, ours, theirs))

    def unexplained(self):
        return self.reasons.get(None, [])

    def markdown(self, what):
        total = self.same + sum(len(rows) for rows in self.reasons.values())
        lines = [f"{total} pairs, {self.same} alike.", "",
                 f"| pairs | why they differ | model | {what} | here | PostgreSQL |",
                 "|---|---|---|---|---|---|"]
        for reason, rows in sorted(self.reasons.items(), key=lambda item: -len(item[1])):
            first = collections.OrderedDict()
            for row in rows:
                first.setdefault(row[0], row)
            models = list(first.values())
            for n, row in enumerate(models[:: max(1, len(models) // 3)][:3]):
                lines.append(f"| {len(rows) if n == 0 else ''} | {reason if n == 0 else ''} "
                             f"| `{row[0]}` | {row[1]} | {row[2]} | {row[3]} |")
        return "\n".join(lines)
