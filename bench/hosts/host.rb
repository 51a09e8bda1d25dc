# Times whole calls from Ruby, as host.py explains: ruby host.rb LIBRARY MODEL DTYPE COUNT
require "fiddle/import"
require "json"

PATH, MODEL, DTYPE, COUNT = ARGV
module Library
  extend Fiddle::Importer
  dlload File.expand_path(PATH)
  extern "void* onnxruntime_vn_create_session(const char*, void*)"
  extern "void* onnxruntime_vn_run_json(void*, const char*, const char*)"
  extern "void* onnxruntime_vn_tensor_from_f32(void*, int, void*, int)"
  extern "void* onnxruntime_vn_run_tensor_fast(void*, const char*, void*, const char*)"
  extern "void* onnxruntime_vn_result_float_data(void*)"
  extern "void onnxruntime_vn_release_result(void*)"
  extern "void onnxruntime_vn_release_tensor(void*)"
end

session = Library.onnxruntime_vn_create_session(MODEL, nil)
float = DTYPE == "float32"
numbers = Array.new(COUNT.to_i) { |i| float ? Math.sin(i) : i * 7919 % 30_522 }
numbers = numbers.pack("e*").unpack("e*") if float

take = lambda do |result|
  answer = Library.onnxruntime_vn_result_float_data(result)[0, 4 * numbers.size].unpack("e*")
  Library.onnxruntime_vn_release_result(result)
  answer
end
json = lambda do |data|
  feed = %({"x0":{"dtype":"#{DTYPE}","shape":[#{numbers.size}],"data":#{data}}})
  take.call(Library.onnxruntime_vn_run_json(session, nil, feed))
end
tensor = lambda do
  values = Library.onnxruntime_vn_tensor_from_f32(numbers.pack("e*"), numbers.size, [numbers.size].pack("q"), 1)
  answer = take.call(Library.onnxruntime_vn_run_tensor_fast(session, "x0", values, nil))
  Library.onnxruntime_vn_release_tensor(values)
  answer
end
ways = { "JSON.generate" => -> { json.call(JSON.generate(numbers)) } }
if float
  ways["format"] = -> { json.call("[#{format('%.9g,' * numbers.size, *numbers).chop}]") }
  ways["tensor"] = tensor
end
ways.each do |way, run|
  answer = nil
  times = Array.new(20) do
    start = Process.clock_gettime(Process::CLOCK_MONOTONIC)
    answer = run.call
    Process.clock_gettime(Process::CLOCK_MONOTONIC) - start
  end
  abort "#{way}: wrong" if answer != numbers.map { |number| float ? 2 * number : number }
  puts format("Ruby %s\t%s\t%.1f", RUBY_VERSION, way, 1e6 * times.min)
end
