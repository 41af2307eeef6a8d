"""The demo's report: printed line by line and written to a file."""

class Report:
    def __init__(self, path):
        self.file = open(path, "w", encoding="utf-8")
        self.failures = 0
        self.checks = []

    def line(self, text=""):
        print(text, flush=True)
        print(text, file=self.file, flush=True)

    def heading(self, text):
        self.line()
        self.line(text)
        self.line("=" * len(text))

    def notes(self, notes):
        self.line("What the player did and saw, in seconds since the start:")
        for seconds, text in notes:
            self.line(f"  {seconds:6.2f}  {text}")

    def files(self, rows):
        self.line("Files of the client, dates in UTC:")
        for name, before, after in rows:
            self.line(f"  {name}")
            self.line(f"      before  {before}")
            self.line(f"      after   {after}")

    def entry(self, name, values):
        if not values:
            self.line(f"Entry in the list of installed programs: none for {name}")
            return
        self.line(f"Entry in the list of installed programs, Quellstone.{name}:")
        for key, value in values.items():
            self.line(f"  {key:16} {value}")

    def list(self, title, items):
        self.line(f"{title}:" if items else f"{title}: nothing")
        for item in items:
            self.line(f"  {item}")

    def check(self, passed, text):
        """Collected for `print_checks`, because some are made while the tool runs."""
        self.checks.append((bool(passed), text))
        self.failures += not passed

    def print_checks(self):
        if not self.checks:
            return
        self.line("Checks:")
        for passed, text in self.checks:
            self.line(f"  {'ok    ' if passed else 'FAILED'}  {text}")
        self.checks = []
