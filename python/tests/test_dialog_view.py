"""The dialogs' view is a module that the library loads from brevant/ beside
itself when a dialog is first shown; without it a dialog raises 6903."""

import os
import shutil
import subprocess
import sys

import pytest

SELECT = """
import brevant
try:
    brevant.clsDeviceList().DialogSelectDevice("Prompt", "Instruction")
except brevant.BrevantError as e:
    print(e.number, e.description)
"""
LIBRARY = os.environ["BREVANT_LIBRARY"]
VIEW = os.path.join(os.path.dirname(LIBRARY), "brevant", "libbrevant-dialogs-qt.so")


def select_device(library, **variables):
    run = subprocess.run([sys.executable, "-c", SELECT], capture_output=True, text=True,
                         check=True, env={**os.environ, "BREVANT_LIBRARY": library, **variables})
    return run.stdout


@pytest.mark.skipif(not os.path.exists(VIEW), reason="built without the Qt view")
def test_the_view_module_beside_the_library_is_loaded():
    # The module ran: it is the view that finds no usable window system.
    assert select_device(LIBRARY, QT_QPA_PLATFORM="nosuchplatform").startswith(
        "-2147214601 No display to show the selection dialog on (platform nosuchplatform")


def test_without_the_view_module_a_dialog_raises(tmp_path):
    alone = tmp_path / "libbrevant.so.1"
    shutil.copy(LIBRARY, alone)
    shown = select_device(str(alone))
    assert shown.startswith("-2147214601 The selection dialogs cannot be shown: ")
    assert str(tmp_path / "brevant" / "libbrevant-dialogs-qt.so") in shown
