(* How much a 125 Hz buzz sounds like speech: three chunks of 32 ms through a speech detector.

   usage: detect MODEL LIBRARY          (needs ctypes: libctypes-ocaml-dev; built by
   ocamlfind ocamlopt -thread -package ctypes.foreign,str -linkpkg detect.ml -o detect)

   Every chunk is the same; the answers differ by the detector's state, which each run hands on. *)
open Ctypes

let fail text = prerr_endline ("detect: " ^ text); exit 1

let model, path =
  match Sys.argv with
  | [| _; model; path |] -> (model, path)
  | _ -> fail "usage: detect MODEL LIBRARY"

(* By full path, so that no other library of this name, and no other runtime, is found. *)
let from =
  let filename = if Filename.is_relative path then Filename.concat (Sys.getcwd ()) path else path in
  try Dl.dlopen ~filename ~flags:[ Dl.RTLD_NOW ] with Dl.DL_error text -> fail text

(* A string that is returned is copied. *)
let get name kind = Foreign.foreign ~from ("onnxruntime_vn_" ^ name) kind
let handle = ptr void
let last_error = get "last_error" (void @-> returning string)
let available = get "available" (void @-> returning int32_t)
let create_session = get "create_session" (string @-> handle @-> returning handle)
let release_session = get "release_session" (handle @-> returning void)
let run_json = get "run_json" (handle @-> string @-> string @-> returning handle)
let result_json = get "result_json" (handle @-> returning string)
let float_at = get "result_float_at" (handle @-> int32_t @-> returning float)
let release_result = get "release_result" (handle @-> returning void)

(* The error text means something after a failure only. *)
let check good =
  let text = if good then "" else last_error () in
  if not good then failwith (if text = "" then "refused without a reason" else text)

let owned made release body =
  check (not (is_null made));
  Fun.protect ~finally:(fun () -> release made) (fun () -> body made)

let tensor dtype shape numbers =
  let data = String.concat "," (List.map (Printf.sprintf "%.9g") numbers) in
  Printf.sprintf {|{"dtype":"%s","shape":%s,"data":[%s]}|} dtype shape data

(* An output's tensor in a result's text, which has the form of an input's. *)
let state name json =
  ignore (Str.search_forward (Str.regexp ({|"|} ^ name ^ {|":\({[^}]*}\)|})) json 0);
  Str.matched_group 1 json

let detect () =
  check (available () = 1l);
  let sawtooth = List.init 512 (fun i -> float_of_int ((i mod 128) - 64) /. 128.) in
  let input = tensor "float32" "[1,512]" sawtooth and rate = tensor "int64" "[]" [ 16000. ] in
  let zeros = tensor "float32" "[2,1,64]" (List.init 128 (fun _ -> 0.)) in
  owned (create_session model null) release_session @@ fun session ->
  let step (h, c) chunk =
    let feed = Printf.sprintf {|{"input":%s,"sr":%s,"h":%s,"c":%s}|} input rate h c in
    owned (run_json session {|["output","hn","cn"]|} feed) release_result @@ fun result ->
    (* The first float32 output is the one named first. *)
    Printf.printf "chunk %d: %.3f\n" chunk (float_at result 0l);
    (state "hn" (result_json result), state "cn" (result_json result)) in
  ignore (List.fold_left step (zeros, zeros) [ 0; 1; 2 ])

let () = try detect () with Failure text -> fail text
