# How much a 125 Hz buzz sounds like speech: three chunks of 32 ms through a speech detector.
#
# usage: perl detect.pl MODEL LIBRARY          (needs FFI::Platypus: libffi-platypus-perl)
#
# Every chunk is the same; the answers differ by the detector's state, which each run hands on.
use v5.26;
use warnings;
use Cwd 'abs_path';
use FFI::Platypus 2.00;
use JSON::PP;

# A handle is 'opaque', undef for null; a 'string' that is returned is copied.
my %functions = (
    last_error      => [[], 'string'],
    available       => [[], 'sint32'],
    create_session  => [['string', 'opaque'], 'opaque'],
    release_session => [['opaque'], 'void'],
    run_json        => [['opaque', 'string', 'string'], 'opaque'],
    result_json     => [['opaque'], 'string'],
    release_result  => [['opaque'], 'void'],
);

# Hands on a handle or a 1. The error text means something after a failure only.
sub check {
    return $_[0] || die((last_error() || 'refused without a reason') . "\n");
}

# What the body makes of a handle, which is released whatever the body does.
sub owned {
    my ($handle, $release, $body) = @_;
    check($handle);
    my $outcome = eval { $body->($handle) };
    my $error = $@;
    $release->($handle);
    return $outcome // die $error;
}

sub detect {
    my ($model, $path) = @_;
    # By full path, so that no other library of this name, and no other runtime, is found.
    my $file = abs_path($path);
    die "$path does not exist\n" unless defined $file && -e $file;
    my $ffi = FFI::Platypus->new(api => 2, lib => $file);
    $ffi->attach(["onnxruntime_vn_$_" => $_], @{$functions{$_}}) for keys %functions;
    check(available());
    # Numbers that were made as numbers: of a text, JSON::PP would make "1", which is refused.
    my $zeros = {dtype => 'float32', shape => [2, 1, 64], data => [(0) x 128]};
    my $sawtooth = [map { ($_ % 128 - 64) / 128 } 0 .. 511];
    my %feed = (input => {dtype => 'float32', shape => [1, 512], data => $sawtooth},
        sr => {dtype => 'int64', shape => [], data => [16000]}, h => $zeros, c => $zeros);
    owned(create_session($model, undef), \&release_session, sub {
        my ($session) = @_;
        for my $chunk (0 .. 2) {
            my $json = owned(run_json($session, undef, encode_json(\%feed)), \&release_result, \&result_json);
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
