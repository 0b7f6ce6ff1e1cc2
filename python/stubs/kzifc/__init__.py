# Editors look for stubs beside a module of the name. The real one is in the plug-in or in the kit.
