"""What the host's own Python code shares."""
