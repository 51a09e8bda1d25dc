# Runs a speech detector on three 32 ms chunks of a 125 Hz buzz. The chunks are alike; the answers
# differ because of the detector's state, which each run passes on.
#
# usage: perl detect.pl MODEL LIBRARY          (needs FFI::Platypus: libffi-platypus-perl)
use v5.26;
use warnings;
use Cwd 'abs_path';
use FFI::Platypus 2.00;
use JSON::PP;

# A handle is 'opaque', undef for null; a 'string' that is returned is copied.
my %functions = (
    last_error      => [[], 'string'],
    create_session  => [['string', 'opaque'], 'opaque'],
    release_session => [['opaque'], 'void'],
    run_json        => [['opaque', 'string', 'string'], 'opaque'],
    result_json     => [['opaque'], 'string'],
    release_result  => [['opaque'], 'void'],
);

# Passes a handle to a body, releases it in any case, and returns what the body returns. The error
# text is meaningful only after a failure.
sub with_handle {
    my ($handle, $release, $body) = @_;
    defined $handle or die last_error() . "\n";
    my $outcome = eval { $body->($handle) };
    my $error = $@;
    $release->($handle);
    return $outcome // die $error;
}

sub detect {
    my ($model, $path) = @_;
    # By full path, so that no other library of this name and no other runtime is found.
    my $file = abs_path($path);
    die "$path does not exist\n" unless defined $file && -e $file;
    my $ffi = FFI::Platypus->new(api => 2, lib => $file);
    $ffi->attach(["onnxruntime_vn_$_" => $_], @{$functions{$_}}) for keys %functions;
    # Numbers, not texts of numbers: JSON::PP would quote those.
    my $zeros = {dtype => 'float32', shape => [2, 1, 64], data => [(0) x 128]};
    my $sawtooth = [map { ($_ % 128 - 64) / 128 } 0 .. 511];
    my %feed = (input => {dtype => 'float32', shape => [1, 512], data => $sawtooth},
        sr => {dtype => 'int64', shape => [], data => [16000]}, h => $zeros, c => $zeros);
    with_handle(create_session($model, undef), \&release_session, sub {
        my ($session) = @_;
        for my $chunk (0 .. 2) {
            my $result = run_json($session, undef, encode_json(\%feed));
            my $json = with_handle($result, \&release_result, \&result_json);
            my $outputs = decode_json($json)->{outputs};
            printf "chunk %d: %.3f\n", $chunk, $outputs->{output}{data}[0];
            @feed{'h', 'c'} = @{$outputs}{'hn', 'cn'};
        }
        return 1;
    });
}

eval { @ARGV == 2 ? detect(@ARGV) : die "usage: perl detect.pl MODEL LIBRARY\n" } and exit;
print STDERR "detect: $@";
exit 1;
