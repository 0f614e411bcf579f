# The README's Python example runs as written, from the source folder, and
# prints what the README shows after it.
import os
import re

from conftest import SOURCE


def test_readme_example_prints_what_the_readme_shows(monkeypatch, capsys):
    with open(os.path.join(SOURCE, "README.md"), encoding="utf-8") as f:
        found = re.findall(r"```python\n(.*?)```\s*prints\s*```text\n(.*?)```", f.read(), re.S)
    assert len(found) == 1
    code, shown = found[0]
    monkeypatch.chdir(SOURCE)
    exec(compile(code, "README.md", "exec"), {})
    assert capsys.readouterr().out == shown
