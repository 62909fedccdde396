# The staged bundle is laid out here.
