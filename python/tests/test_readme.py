# The README's Python example runs as written, from the source folder.
import os
import re

from conftest import SOURCE


def test_readme_example_fails(monkeypatch, capsys):
    with open(os.path.join(SOURCE, "README.md"), encoding="utf-8") as f:
        blocks = re.findall(r"```python\n(.*?)```", f.read(), re.S)
    assert len(blocks) == 1
    monkeypatch.chdir(SOURCE)
    exec(compile(blocks[0], "README.md", "exec"), {})
    printed = capsys.readouterr().out
    assert "Total profit" in printed and "EntryDateTime" in printed
