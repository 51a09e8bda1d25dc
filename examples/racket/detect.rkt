#lang racket/base
;; How much a 125 Hz buzz sounds like speech: three chunks of 32 ms through a speech detector.
;;
;; usage: racket detect.rkt MODEL LIBRARY
;;
;; Every chunk is the same; the answers differ by the detector's state, which each run hands on.
(require ffi/unsafe json racket/format)

(define library (make-parameter #f))

;; A handle is a _pointer, #f for null; a _string/utf-8 that is returned is copied.
(define-syntax-rule (define-call name symbol type ...)
  (define (name . arguments)
    (apply (get-ffi-obj (string-append "onnxruntime_vn_" symbol) (library) (_fun type ...)) arguments)))
(define-call last-error "last_error" -> _string/utf-8)
(define-call available "available" -> _int32)
(define-call create-session "create_session" _path _pointer -> _pointer)
(define-call release-session "release_session" _pointer -> _void)
(define-call run-json "run_json" _pointer _string/utf-8 _string/utf-8 -> _pointer)
(define-call result-json "result_json" _pointer -> _string/utf-8)
(define-call release-result "release_result" _pointer -> _void)

;; Hands on a handle or a 1. The error text means something after a failure only.
(define (check outcome)
  (when (memv outcome '(#f 0))
    (define text (last-error))
    (raise-user-error (if (string=? text "") "refused without a reason" text)))
  outcome)

;; What the body makes of a handle, which is released whatever the body does.
(define (call-with-handle handle release body)
  (check handle)
  (dynamic-wind void (lambda () (body handle)) (lambda () (release handle))))

(define (detect model)
  (check (available))
  ;; 128.0: an exact fraction such as 1/2 is none of JSON's numbers.
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
  ;; By full path, so that no other library of this name, and no other runtime, is found.
  (parameterize ([library (ffi-lib (path->complete-path (cadr arguments)))])
    (detect (car arguments))))
