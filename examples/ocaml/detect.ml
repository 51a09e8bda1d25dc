(* Runs a speech detector on three 32 ms chunks of a 125 Hz buzz. The chunks are alike; the answers
   differ because of the detector's state, which each run passes on.

   usage: detect MODEL LIBRARY          (needs ctypes: libctypes-ocaml-dev; built by
   ocamlfind ocamlopt -thread -package ctypes.foreign,str -linkpkg detect.ml -o detect) *)
open Ctypes

let fail text = prerr_endline ("detect: " ^ text); exit 1

let model, path =
  match Sys.argv with
  | [| _; model; path |] -> (model, path)
  | _ -> fail "usage: detect MODEL LIBRARY"

(* By full path, so that no other library of this name and no other runtime is found. *)
let from =
  let filename = if Filename.is_relative path then Filename.concat (Sys.getcwd ()) path else path in
  try Dl.dlopen ~filename ~flags:[ Dl.RTLD_NOW ] with Dl.DL_error text -> fail text

(* A returned string is copied. *)
let get name kind = Foreign.foreign ~from ("onnxruntime_vn_" ^ name) kind
let handle = ptr void
let last_error = get "last_error" (void @-> returning string)
let create_session = get "create_session" (string @-> handle @-> returning handle)
let release_session = get "release_session" (handle @-> returning void)
let run_json = get "run_json" (handle @-> string @-> string @-> returning handle)
let result_json = get "result_json" (handle @-> returning string)
let float_at = get "result_float_at" (handle @-> int32_t @-> returning float)
let release_result = get "release_result" (handle @-> returning void)

(* Passes a handle to a body and releases it, whatever the body does. The error text is meaningful
   only after a failure. *)
let with_handle handle release body =
  if is_null handle then failwith (last_error ());
  Fun.protect ~finally:(fun () -> release handle) (fun () -> body handle)

let tensor dtype shape numbers =
  let data = String.concat "," (List.map (Printf.sprintf "%.9g") numbers) in
  Printf.sprintf {|{"dtype":"%s","shape":%s,"data":[%s]}|} dtype shape data

(* An output's tensor in a result's JSON. It has the form of an input's. *)
let state name json =
  ignore (Str.search_forward (Str.regexp ({|"|} ^ name ^ {|":\({[^}]*}\)|})) json 0);
  Str.matched_group 1 json

let detect () =
  let sawtooth = List.init 512 (fun i -> float_of_int ((i mod 128) - 64) /. 128.) in
  let input = tensor "float32" "[1,512]" sawtooth and rate = tensor "int64" "[]" [ 16000. ] in
  let zeros = tensor "float32" "[2,1,64]" (List.init 128 (fun _ -> 0.)) in
  with_handle (create_session model null) release_session @@ fun session ->
  let step (h, c) chunk =
    let feed = Printf.sprintf {|{"input":%s,"sr":%s,"h":%s,"c":%s}|} input rate h c in
    with_handle (run_json session {|["output","hn","cn"]|} feed) release_result @@ fun result ->
    (* The floats are those of the first output requested. *)
    Printf.printf "chunk %d: %.3f\n" chunk (float_at result 0l);
    (state "hn" (result_json result), state "cn" (result_json result)) in
  ignore (List.fold_left step (zeros, zeros) [ 0; 1; 2 ])

let () = try detect () with Failure text -> fail text
