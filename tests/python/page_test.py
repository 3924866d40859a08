import re
import subprocess
import sys
from pathlib import Path

PAGE = Path(__file__).parents[2] / "docs/using/python.md"


def test_programs_of_the_page_run_one_after_the_other(tmp_path):
    programs = re.findall(r"```python\n(.*?)```", PAGE.read_text(encoding="utf-8"), re.S)
    assert len(programs) == 4
    result = subprocess.run([sys.executable, "-c", "\n".join(programs)], cwd=tmp_path, check=False,
                            capture_output=True, text=True)
    assert (result.returncode, result.stderr) == (0, "")
    lines = result.stdout.splitlines()
    assert lines[0] == "ball finished ball 2"
    assert "(91, 3)" in lines
    assert "8.75 [10.0]" in lines
    assert lines[-2:] == ["10.0", "[ 0.  0. 10.]"]
