/* Replaces ONNX Runtime's library at link time; never loaded. */
const void* OrtGetApiBase(void);

const void* OrtGetApiBase(void) { return 0; }
