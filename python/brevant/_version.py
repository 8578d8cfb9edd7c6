"""The package's version, which is the project's (top-level CMakeLists.txt).

A copy, because `pip install ./python` sees nothing outside python/; the test
of the installed package holds it to the project's version.
"""

__version__ = "1.0.0.10"
