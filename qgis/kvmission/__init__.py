"""Processing algorithms that turn what a mapping sensor recorded into layers."""


def classFactory(iface):  # a name that QGIS asks for
    from .plugin import Plugin

    return Plugin()
