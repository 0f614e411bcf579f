import os
import subprocess

import pandas as pd
import pytest

SOURCE = os.environ.get("CHARTCALC_SOURCE_DIR", os.path.join(os.path.dirname(__file__), "..", ".."))
TOOL = os.environ.get("CHARTCALC_TOOL", os.path.join(SOURCE, "build", "chartcalc"))
SAMPLE = os.path.join(SOURCE, "data", "sample_daily.csv")


@pytest.fixture(scope="session")
def daily():
    return pd.read_csv(SAMPLE)


def tool_csv(*args, **read):
    """The tool's CSV output for the bundled sample, as a frame."""
    out = subprocess.run([TOOL, *args], check=True, capture_output=True, text=True).stdout
    import io
    return pd.read_csv(io.StringIO(out), **read)
