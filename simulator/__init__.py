"""A stateful replica of the controller's web console, for development and tests."""
