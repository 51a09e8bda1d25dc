#lang racket/base
;; Runs a speech detector on three 32 ms chunks of a 125 Hz buzz. The chunks are alike; the answers
;; differ because of the detector's state, which each run passes on.
;;
;; usage: racket detect.rkt MODEL LIBRARY
(require ffi/unsafe json racket/format)

(define library (make-parameter #f))

;; A handle is a _pointer, #f for null; a _string/utf-8 that is returned is copied.
(define-syntax-rule (define-call name symbol type ...)
  (define (name . arguments)
    (define full-name (string-append "onnxruntime_vn_" symbol))
    (apply (get-ffi-obj full-name (library) (_fun type ...)) arguments)))
(define-call last-error "last_error" -> _string/utf-8)
(define-call create-session "create_session" _path _pointer -> _pointer)
(define-call release-session "release_session" _pointer -> _void)
(define-call run-json "run_json" _pointer _string/utf-8 _string/utf-8 -> _pointer)
(define-call result-json "result_json" _pointer -> _string/utf-8)
(define-call release-result "release_result" _pointer -> _void)

;; Passes a handle to a body and releases it, whatever the body does. The error text is meaningful
;; only after a failure.
(define (call-with-handle handle release body)
  (unless handle (raise-user-error (last-error)))
  (dynamic-wind void (lambda () (body handle)) (lambda () (release handle))))

(define (detect model)
  ;; 128.0: an exact fraction such as 1/2 is not a JSON number.
  (define sawtooth (for/list ([i 512]) (/ (- (modulo i 128) 64) 128.0)))
  (define zeros (hasheq 'dtype "float32" 'shape '(2 1 64) 'data (build-list 128 (lambda (i) 0))))
  (define input (hasheq 'dtype "float32" 'shape '(1 512) 'data sawtooth))
  (define rate (hasheq 'dtype "int64" 'shape '() 'data '(16000)))
  (call-with-handle (create-session model #f) release-session
    (lambda (session)
      (for/fold ([h zeros] [c zeros] #:result (void)) ([chunk 3])
        (define feed (jsexpr->string (hasheq 'input input 'sr rate 'h h 'c c)))
        (define json (call-with-handle (run-json session #f feed) release-result result-json))
        (define outputs (hash-ref (string->jsexpr json) 'outputs))
        (define probability (car (hash-ref (hash-ref outputs 'output) 'data)))
        (printf "chunk ~a: ~a\n" chunk (~r probability #:precision '(= 3)))
        (values (hash-ref outputs 'hn) (hash-ref outputs 'cn))))))

(define arguments (vector->list (current-command-line-arguments)))
(with-handlers ([exn:fail? (lambda (problem)
                             (eprintf "detect: ~a\n" (exn-message problem))
                             (exit 1))])
  (unless (= (length arguments) 2) (raise-user-error "usage: racket detect.rkt MODEL LIBRARY"))
  ;; By full path, so that no other library of this name and no other runtime is found.
  (parameterize ([library (ffi-lib (path->complete-path (cadr arguments)))])
    (detect (car arguments))))
