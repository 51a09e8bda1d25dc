;;; Runs a speech detector on three 32 ms chunks of a 125 Hz buzz. The chunks are alike; the answers
;;; differ because of the detector's state, which each run passes on.
;;;
;;; usage: sbcl --script detect.lisp MODEL LIBRARY          (needs CFFI: cl-cffi)
(require :asdf)
(let ((*standard-output* (make-broadcast-stream)) (*error-output* (make-broadcast-stream)))
  (asdf:load-system :cffi))
(setf cffi:*default-foreign-encoding* :utf-8)

;; A :string that is returned is copied.
(cffi:defcfun ("onnxruntime_vn_last_error" last-error) :string)
(cffi:defcfun ("onnxruntime_vn_create_session" create-session) :pointer
  (model :string) (options :pointer))
(cffi:defcfun ("onnxruntime_vn_release_session" release-session) :void (session :pointer))
(cffi:defcfun ("onnxruntime_vn_run_json" run-json) :pointer
  (session :pointer) (outputs :string) (feed :string))
(cffi:defcfun ("onnxruntime_vn_result_json" result-json) :string (result :pointer))
(cffi:defcfun ("onnxruntime_vn_result_float_at" float-at) :float
  (result :pointer) (index :int32))
(cffi:defcfun ("onnxruntime_vn_release_result" release-result) :void (result :pointer))

(defmacro with-handle ((name made release) &body body)
  "Releases a handle, whatever the body does. The error text is meaningful only after a failure."
  `(let ((,name ,made))
     (when (cffi:null-pointer-p ,name) (error "~a" (last-error)))
     (unwind-protect (progn ,@body) (,release ,name))))

(defun tensor (dtype shape numbers)
  ;; ~f: an exact fraction would be written 1/2, and a double 0.5d0.
  (format nil "{\"dtype\":\"~a\",\"shape\":~a,\"data\":[~{~f~^,~}]}" dtype shape numbers))

(defun state-of (name json)
  "An output's tensor in a result's JSON. It has the form of an input's."
  (let ((start (+ (search (format nil "\"~a\":{" name) json) (length name) 3)))
    (subseq json start (1+ (position #\} json :start start)))))

(defun detect (model path)
  ;; By full path, so that no other library of this name and no other runtime is found.
  (cffi:load-foreign-library (truename path))
  (let* ((sawtooth (loop for i below 512 collect (/ (- (mod i 128) 64) 128)))
         (input (tensor "float32" "[1,512]" sawtooth))
         (rate (tensor "int64" "[]" '(16000)))
         (h (tensor "float32" "[2,1,64]" (make-list 128 :initial-element 0)))
         (c h))
    (with-handle (session (create-session model (cffi:null-pointer)) release-session)
      (dotimes (chunk 3)
        (let ((feed (format nil "{\"input\":~a,\"sr\":~a,\"h\":~a,\"c\":~a}" input rate h c)))
          (with-handle (result (run-json session "[\"output\",\"hn\",\"cn\"]" feed) release-result)
            ;; The floats are those of the first output requested.
            (format t "chunk ~d: ~,3f~%" chunk (float-at result 0))
            (let ((json (result-json result)))
              (setf h (state-of "hn" json) c (state-of "cn" json)))))))))

(handler-case
    (let ((arguments (rest sb-ext:*posix-argv*)))
      (unless (= (length arguments) 2) (error "usage: detect.lisp MODEL LIBRARY"))
      (apply #'detect arguments))
  (error (problem)
    (format *error-output* "detect: ~a~%" problem)
    (sb-ext:exit :code 1)))
