/* Stands for ONNX Runtime's library while linking; never loaded. */
const void* OrtGetApiBase(void);

const void* OrtGetApiBase(void) { return 0; }
