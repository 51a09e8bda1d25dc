# The public header as Doxygen takes it: the conventions at its top become the first page as they
# stand, and the lines that part it become headings.
1s|^/\* |/** @file */\n/** @mainpage\nThe functions and types: onnxruntime_vornic.h\n@verbatim\n|
1,/^ \*\/$/{
    s|^ \*/$|@endverbatim\n*/|
    s|^ \* \?||
}
/^\/\* ---- /{
    s|^/\* ---- \(.*[^ -]\) -*.*$|/** @} */\n/** @name \1\n@{ */|
    /@name Runtime and errors/s|^[^\n]*\n||
}
# The C++ guard at the end; the one at the top has its brace open.
/^#ifdef __cplusplus$/{
    N
    s|^\(.*\)\n}|/** @} */\n\1\n}|
}
