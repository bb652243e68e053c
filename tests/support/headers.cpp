// A file to compile beside the precompiled headers, which need one.
