"""A throwaway PostgreSQL server as a peer to compare with.

    with PostgresPeer({"lc_numeric": "C"}) as peer:
        for answer in peer.evaluate(["to_char(12, '999')", "to_number('x', '9')"]):
            print(answer)           # Answer(text='  12', error=None), Answer(text=None, error='...')

The server is made in a temporary directory, listens on a socket in there and on nothing else, and
is gone afterwards with all its files. As root it runs as the user postgres of the Debian package.
scripts/install-packages compare installs what is needed.
"""
import collections
import glob
import json
import os
import pathlib
import shutil
import subprocess
import tempfile

Answer = collections.namedtuple("Answer", "text error")

PREPARE = """
CREATE TEMP TABLE asked (number int, expression text);
CREATE FUNCTION pg_temp.answer(expression text) RETURNS json LANGUAGE plpgsql AS $$
DECLARE
  result text;
BEGIN
  EXECUTE 'SELECT (' || expression || ')::text' INTO result;
  RETURN json_build_array(result, NULL);
EXCEPTION WHEN OTHERS THEN
  RETURN json_build_array(NULL, sqlerrm);
END $$;
"""


def quoted(text):
    """text as an SQL literal, whatever is in it."""
    return "E'" + text.replace("\\", "\\\\").replace("'", "''") + "'"


class PostgresPeer:
    def __init__(self, settings=None):
        self.settings = settings or {}
        binaries = sorted(glob.glob("/usr/lib/postgresql/*/bin"), key=lambda path: int(path.split("/")[4]))
        if not binaries:
            here = pathlib.Path(__file__).resolve().parent
            subprocess.run([here / "install-packages", "compare"], check=True)
            binaries = sorted(glob.glob("/usr/lib/postgresql/*/bin"))
        self.binaries = pathlib.Path(binaries[-1])
        self.user = "postgres" if os.geteuid() == 0 else None

    def run(self, program, *arguments, **options):
        done = subprocess.run([self.binaries / program, *arguments], user=self.user, cwd=self.root,
                              capture_output=True, text=True, encoding="utf-8", **options)
        if done.returncode != 0:
            raise RuntimeError(f"{program}: {done.stderr.strip() or done.stdout.strip()}")
        return done.stdout

    def __enter__(self):
        self.root = tempfile.mkdtemp(prefix="postgres-")
        try:
            if self.user:
                shutil.chown(self.root, self.user)
            self.run("initdb", "-D", f"{self.root}/data", "--auth=trust", "--no-sync",
                     "--encoding=UTF8", "--locale=C.UTF-8", "--username=peer")
            self.run("pg_ctl", "-D", f"{self.root}/data", "-w", "-l", f"{self.root}/log", "-o",
                     f"-k {self.root} -c listen_addresses='' -c fsync=off", "start")
        except BaseException:
            shutil.rmtree(self.root, ignore_errors=True)
            raise
        self.version = self.psql("SHOW server_version;").strip()
        return self

    def __exit__(self, *_):
        try:
            self.run("pg_ctl", "-D", f"{self.root}/data", "-m", "immediate", "stop")
        finally:
            shutil.rmtree(self.root, ignore_errors=True)

    def psql(self, script):
        return self.run("psql", "-X", "-q", "-At", "-v", "ON_ERROR_STOP=1", "-h", self.root, "-U",
                        "peer", "-d", "postgres", "-f", "-", input=script)

    def evaluate(self, expressions):
        """An Answer for each SQL expression: its value as text (None is null) or the error's message."""
        script = ["".join(f"SET {name} = {quoted(value)};\n" for name, value in self.settings.items()),
                  PREPARE, "COPY asked FROM stdin;\n"]
        for number, expression in enumerate(expressions):
            escaped = (expression.replace("\\", "\\\\").replace("\t", "\\t").replace("\n", "\\n")
                       .replace("\r", "\\r"))
            script.append(f"{number}\t{escaped}\n")
        script.append("\\.\nSELECT pg_temp.answer(expression) FROM asked ORDER BY number;\n")
        return [Answer(*json.loads(line)) for line in self.psql("".join(script)).splitlines()]
