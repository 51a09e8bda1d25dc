;;; How much a 125 Hz buzz sounds like speech: three chunks of 32 ms through a speech detector.
;;;
;;; usage: sbcl --script detect.lisp MODEL LIBRARY          (needs CFFI: cl-cffi)
;;;
;;; Every chunk is the same; the answers differ by the detector's state, which each run hands on.
(require :asdf)
(let ((*standard-output* (make-broadcast-stream)) (*error-output* (make-broadcast-stream)))
  (asdf:load-system :cffi))
(setf cffi:*default-foreign-encoding* :utf-8)

;; A :string that is returned is copied.
(cffi:defcfun ("onnxruntime_vn_last_error" last-error) :string)
(cffi:defcfun ("onnxruntime_vn_available" available) :int32)
(cffi:defcfun ("onnxruntime_vn_create_session" create-session) :pointer (model :string) (options :pointer))
(cffi:defcfun ("onnxruntime_vn_release_session" release-session) :void (session :pointer))
(cffi:defcfun ("onnxruntime_vn_run_json" run-json) :pointer (session :pointer) (names :string) (feed :string))
(cffi:defcfun ("onnxruntime_vn_result_json" result-json) :string (result :pointer))
(cffi:defcfun ("onnxruntime_vn_result_float_at" float-at) :float (result :pointer) (index :int32))
(cffi:defcfun ("onnxruntime_vn_release_result" release-result) :void (result :pointer))

(defun check (outcome)
  "Hands on a handle or a 1. The error text means something after a failure only."
  (when (or (eql outcome 0) (and (cffi:pointerp outcome) (cffi:null-pointer-p outcome)))
    (let ((text (last-error)))
      (error "~a" (if (string= text "") "refused without a reason" text))))
  outcome)

(defmacro with-handle ((name made release) &body body)
  "Releases what was made, whatever the body does."
  `(let ((,name (check ,made)))
     (unwind-protect (progn ,@body) (,release ,name))))

(defun tensor (dtype shape numbers)
  ;; ~f: an exact fraction would be written 1/2, and a double 0.5d0.
  (format nil "{\"dtype\":\"~a\",\"shape\":~a,\"data\":[~{~f~^,~}]}" dtype shape numbers))

(defun state-of (name json)
  "An output's tensor in a result's text, which has the form of an input's."
  (let ((start (+ (search (format nil "\"~a\":{" name) json) (length name) 3)))
    (subseq json start (1+ (position #\} json :start start)))))

(defun detect (model path)
  ;; By full path, so that no other library of this name, and no other runtime, is found.
  (cffi:load-foreign-library (truename path))
  (check (available))
  (let* ((input (tensor "float32" "[1,512]" (loop for i below 512 collect (/ (- (mod i 128) 64) 128))))
         (rate (tensor "int64" "[]" '(16000)))
         (h (tensor "float32" "[2,1,64]" (make-list 128 :initial-element 0)))
         (c h))
    (with-handle (session (create-session model (cffi:null-pointer)) release-session)
      (dotimes (chunk 3)
        (let ((feed (format nil "{\"input\":~a,\"sr\":~a,\"h\":~a,\"c\":~a}" input rate h c)))
          (with-handle (result (run-json session "[\"output\",\"hn\",\"cn\"]" feed) release-result)
            ;; The first float32 output is the one named first.
            (format t "chunk ~d: ~,3f~%" chunk (float-at result 0))
            (let ((json (result-json result)))
              (setf h (state-of "hn" json) c (state-of "cn" json)))))))))

(handler-case
    (let ((arguments (rest sb-ext:*posix-argv*)))
      (if (= (length arguments) 2) (apply #'detect arguments) (error "usage: detect.lisp MODEL LIBRARY")))
  (error (problem)
    (format *error-output* "detect: ~a~%" problem)
    (sb-ext:exit :code 1)))
