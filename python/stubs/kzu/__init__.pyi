# Utilities for Python code in the host.
