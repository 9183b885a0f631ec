"""Loads the plugin that these tests are about; an installed package brings it by itself."""

pytest_plugins = ["vrax.pytest_plugin"]
