# Runs a speech detector on three 32 ms chunks of a 125 Hz buzz. The chunks are alike; the answers
# differ because of the detector's state, which each run passes on.
#
# usage: ruby detect.rb MODEL LIBRARY
require "fiddle"
require "json"

class Library
  # A CONST_STRING that is returned is copied into a String.
  TYPES = {
    "void" => Fiddle::TYPE_VOID,
    "int32_t" => Fiddle::TYPE_INT32_T,
    "float" => Fiddle::TYPE_FLOAT,
    "const char*" => Fiddle::TYPE_CONST_STRING
  }.tap { |types| types.default = Fiddle::TYPE_VOIDP }.freeze

  def initialize(path)
    # By full path, so that no other library of this name and no other runtime is found.
    path = File.expand_path(path)
    loaded = Fiddle.dlopen(path)
    File.read("#{File.dirname(path)}/onnxruntime_vornic.cdef")
        .scan(/^(.*?) ?onnxruntime_vn_(\w+)\((.*)\);/) do |result, name, arguments|
      kinds = arguments.scan(/([^,]*[ *])\w+/).map { |(type)| TYPES[type.strip] }
      function = Fiddle::Function.new(loaded["onnxruntime_vn_#{name}"], kinds, TYPES[result])
      define_singleton_method(name) { |*values| function.call(*values) }
    end
  end

  # Yields a handle and releases it, whatever the block does. The error text is meaningful only
  # after a failure.
  def with(handle, release)
    raise last_error.force_encoding(Encoding::UTF_8) if handle.null?

    yield handle
  ensure
    public_send(release, handle)
  end
end

def detect(library, model)
  sawtooth = Array.new(512) { |i| (i % 128 - 64) / 128.0 }
  zeros = { dtype: "float32", shape: [2, 1, 64], data: [0] * 128 }
  feed = {
    input: { dtype: "float32", shape: [1, 512], data: sawtooth },
    sr: { dtype: "int64", shape: [], data: [16_000] },
    h: zeros, c: zeros
  }
  library.with(library.create_session(model, nil), :release_session) do |session|
    3.times do |chunk|
      result = library.run_json(session, nil, JSON.generate(feed))
      json = library.with(result, :release_result) { library.result_json(result) }
      outputs = JSON.parse(json)["outputs"]
      puts format("chunk %d: %.3f", chunk, outputs["output"]["data"][0])
      feed.update(h: outputs["hn"], c: outputs["cn"])
    end
  end
end

abort "usage: ruby detect.rb MODEL LIBRARY" if ARGV.length != 2
begin
  detect(Library.new(ARGV[1]), ARGV[0])
rescue RuntimeError, Fiddle::DLError, SystemCallError => e
  abort "detect: #{e.message}"
end
