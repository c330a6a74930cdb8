"""The Satpy reader ``zel``. Satpy finds it by its entry point, or by SATPY_CONFIG_PATH=.../etc."""
